// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_FOUNDMARK_H
#define DAEMON_STORE_FOUNDMARK_H

#include <qmailmessage.h>
#include <qmailmessagekey.h>

namespace Store {

/**
 * Marks messages that a search has brought and that no synchronisation has shown since.
 *
 * They may lie further back than their folder is synchronised: a synchronisation that does not show
 * them says nothing about them. The first one that shows them takes the mark away.
 */
namespace FoundMark {

bool isSet(const QMailMessageMetaData &message);
void set(QMailMessageMetaData *message);
void clear(QMailMessageMetaData *message);
/** The messages that have the mark. */
QMailMessageKey key();

} // namespace FoundMark

} // namespace Store

#endif
