// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TRANSLATIONS_PLATFORMTEXTS_H
#define TRANSLATIONS_PLATFORMTEXTS_H

#include <QtGlobal>

/**
 * Texts of Qt that a person sees most, for where Qt's own translations are not installed.
 *
 * Here to be found by lupdate: Qt looks them up by itself.
 */
constexpr const char *PlatformTexts[] = {
    QT_TRANSLATE_NOOP("QPlatformTheme", "OK"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "&Yes"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "&No"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "Cancel"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "Close"),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Unknown option '%1'."),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Unknown options: %1."),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Missing value after '%1'."),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Unexpected value after '%1'."),
    QT_TRANSLATE_NOOP("QHttp", "Connection refused"),
    QT_TRANSLATE_NOOP("QHttp", "Connection closed"),
    QT_TRANSLATE_NOOP("QHttp", "Host %1 not found"),
    QT_TRANSLATE_NOOP("QHttp", "SSL handshake failed"),
    QT_TRANSLATE_NOOP("QAbstractSocket", "Socket operation timed out"),
    QT_TRANSLATE_NOOP("QNativeSocketEngine", "Network unreachable"),
    QT_TRANSLATE_NOOP("QNativeSocketEngine", "Host unreachable"),
};

#endif
