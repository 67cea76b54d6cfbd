// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_BASE64DECODER_H
#define EAS_BASE64DECODER_H

#include <QByteArray>

namespace Eas {

/** Decodes base64 (RFC 4648 4) as it arrives. White space between the characters is allowed. */
class Base64Decoder
{
public:
    /** What the next characters say; nothing more once isValid() is false. */
    QByteArray decode(const QByteArray &text);
    bool isValid() const { return m_valid; }
    /** Whether all is well at the end: missing padding is forgiven, a lone character is not. */
    bool isComplete() const { return m_valid && m_bits < 6; }

private:
    static const char *decodeGroups(const char *in, const char *end, char **out);
    void decodeCharacter(char c, char **out);

    quint32 m_buffer = 0;
    int m_bits = 0;
    bool m_padded = false;
    bool m_valid = true;
};

} // namespace Eas

#endif
