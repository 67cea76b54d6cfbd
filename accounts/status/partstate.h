// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_PARTSTATE_H
#define ACCOUNTS_STATUS_PARTSTATE_H

#include <QString>

namespace Accounts {

/** A process that serves a name on the session bus. */
enum class PartState {
    Running,
    Activatable, ///< the bus starts it when somebody needs it
    Absent,
    NoBus ///< there is no session bus to ask
};

/** The plugin, as far as the message server that runs shows it. */
enum class PluginState {
    Loaded,
    NotLoaded,
    NotInstalled,
    Unknown ///< no message server runs, or its libraries cannot be seen
};

/** QMF's message server, on the bus. */
extern const QString MessageServerName;

PartState partState(const QString &busName);
PluginState pluginState();
/** The plugin that the message server has loaded, else the one that it would load; empty: none. */
QString pluginFile();
/** The version of the plugin in that file; empty where it tells none. */
QString pluginVersion(const QString &file);
/** The process that serves the name; 0 where none does. */
uint processOf(const QString &busName);

/** "running", "activatable", "absent" (without a bus, too) */
QString wordFor(PartState state);
/** "loaded", "not-loaded", "not-installed", "unknown" */
QString wordFor(PluginState state);

} // namespace Accounts

#endif
