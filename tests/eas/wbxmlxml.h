// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_EAS_WBXMLXML_H
#define TESTS_EAS_WBXMLXML_H

#include <QByteArray>

/** Documents of the tests in a form that a person can read. */
namespace WbxmlXml {

/**
 * Encodes XML without white space between elements; namespaces as in xmlns="AirSync:". The tags
 * that the protocol has as opaque data are written so. An unknown tag ends the test program.
 */
QByteArray encode(const QByteArray &xml);

/** Decodes into XML of the same form, with xmlns where it changes; an error instead of a document
 * that is malformed. */
QByteArray decode(const QByteArray &wbxml);

/** Encodes a file of tests/data/eas. */
QByteArray fromFile(const char *name);

} // namespace WbxmlXml

#endif
