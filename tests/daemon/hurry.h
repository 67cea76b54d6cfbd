// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_HURRY_H
#define TESTS_DAEMON_HURRY_H

/** A pause of the daemon that hurries lasts one of so many parts. */
constexpr int HurriedParts = 50;

#endif
