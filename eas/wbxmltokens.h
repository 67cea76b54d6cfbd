// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_WBXMLTOKENS_H
#define EAS_WBXMLTOKENS_H

/** The binary XML format's own tokens, WBXML 1.3 (W3C Note of 24 June 1999) 7.1. */
namespace Eas::Wbxml {

enum Token {
    SwitchPage = 0x00,
    End = 0x01,
    Entity = 0x02,
    InlineString = 0x03,
    Literal = 0x04,
    ExtensionInline0 = 0x40,
    ExtensionInline2 = 0x42,
    ProcessingInstruction = 0x43,
    LiteralContent = 0x44,
    ExtensionTable0 = 0x80,
    ExtensionTable2 = 0x82,
    TableString = 0x83,
    LiteralAttributes = 0x84,
    Extension0 = 0xc0,
    Extension2 = 0xc2,
    Opaque = 0xc3,
    LiteralAttributesContent = 0xc4
};

enum TagBits { TokenMask = 0x3f, HasContent = 0x40, HasAttributes = 0x80 };

enum Header {
    Version11 = 0x01,
    Version13 = 0x03,
    PublicIdUnknown = 0x01,
    CharsetUnknown = 0,
    CharsetAscii = 3,
    CharsetUtf8 = 106
};

} // namespace Eas::Wbxml

#endif
