// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_REDACTION_H
#define ACCOUNTS_REDACTION_H

#include "accounts/setup/accountdetails.h"

#include <QHash>
#include <QJsonValue>
#include <QRegularExpression>
#include <QStringList>

namespace Accounts {

/**
 * Takes out of texts what tells who somebody is or opens somebody's mail, so that they can be given
 * to strangers.
 *
 * What it was told of is replaced by placeholders, "(server 1)", the same for the same each time,
 * so that one sees what belongs together; a password, and what looks like a key, by "(secret)".
 * Mail addresses, the ids of servers in the daemon's log and the hosts of URLs are found without
 * being told; all else of a URL goes.
 * Knows nothing of subjects and contents of mails: these must not get into a text at all.
 */
class Redaction
{
public:
    Redaction();

    /** Address, server, user, domain, names and password of an account. */
    void addAccount(const AccountDetails &details);
    /** What stands for who uses this machine: home folder, login name, the machine's name. */
    void addMachine();
    /** Something that is nobody's business. */
    void addSecret(const QString &secret);

    QString text(const QString &text);
    /** The same for each text in a value; the keys of objects stay. */
    QJsonValue json(const QJsonValue &value);

private:
    void add(const QString &kind, const QString &name);
    /** A host with its domain: the hosts below that are replaced, too. */
    void addHost(const QString &host);
    void addLogin(const AccountSettings &settings);
    QString placeholder(const QString &kind, const QString &name);
    QString replacement(const QRegularExpressionMatch &match);
    void compile();

    QHash<QString, QString> m_placeholders; ///< by what they stand for, in small letters
    QHash<QString, int> m_counts;           ///< placeholders, by their kind
    QStringList m_names;                    ///< known; replaced where they are words of their own
    QStringList m_hosts;                    ///< known; replaced with what stands before a dot
    QStringList m_secrets;                  ///< known; replaced wherever they are
    QRegularExpression m_pattern;           ///< empty: to be made anew
};

} // namespace Accounts

#endif
