// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACCOUNTOUTPUT_H
#define ACCOUNTS_ACCOUNTOUTPUT_H

#include "accounts/folderview.h"
#include "accounts/mailsnapshot.h"

#include <QJsonArray>
#include <QJsonObject>

namespace Accounts {

class Console;

/** An account for a program to read; never with its password. */
QJsonObject accountObject(const QMailAccountId &id);
QJsonArray folderArray(const QList<FolderLine> &folders);
QJsonArray differenceArray(const QList<FolderDifference> &differences);

/** The same for a person. */
void sayAccount(Console &console, const QMailAccountId &id);
void sayFolders(Console &console, const QList<FolderLine> &folders);
void sayDifferences(Console &console, const QList<FolderDifference> &differences);

/** "30 days" and the like. */
QString keepText(int days);
/** How many messages the first synchronisation has brought. */
QString arrivalText(int messages);
/** That an account is saved although its mail has not come, why, and what to do. */
QString savedButText(const QString &problem, const QMailAccountId &id);

} // namespace Accounts

#endif
