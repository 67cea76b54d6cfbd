// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_TCPDELAY_H
#define EAS_TCPDELAY_H

namespace Eas::TcpDelay {

/**
 * Switches off Nagle's algorithm (RFC 1122 4.2.3.4) for all TCP connections of this process.
 *
 * Qt writes a request's header and its body one behind the other, so that the body would wait until
 * the server has acknowledged the header, which it delays by 40 to 200 ms; and Qt hands out neither
 * its sockets nor an option for it. Takes some ten microseconds.
 */
void switchOff();

} // namespace Eas::TcpDelay

#endif
