// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SERVICE_SERVICEKEY_H
#define PLUGIN_SERVICE_SERVICEKEY_H

#include <QString>

/**
 * The key of the message service, "orvmail": what the message server knows it by, and the name of
 * the accounts' service configuration. One constant for the whole process.
 */
extern const QString OrvServiceKey;

#endif
