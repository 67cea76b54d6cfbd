// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_FAULTS_MAILUSER_H
#define TESTS_FAULTS_MAILUSER_H

#include <qmailaccount.h>
#include <qmailserviceaction.h>

#include <QJsonObject>
#include <QStringList>

#include <functional>

namespace Faults {

/**
 * One person at one mail program: changes the mail store as a mail program does, and asks the
 * message server for what the store cannot do alone.
 *
 * Every call answers with an object whose "ok" says whether it was carried out.
 */
class MailUser
{
public:
    explicit MailUser(const QMailAccountId &account);

    /** Every folder and message that the store holds, from its files. */
    QJsonObject state() const;
    /** Sets and clears flags of a message. */
    QJsonObject flag(const QString &subject, quint64 set, quint64 unset) const;
    QJsonObject move(const QString &subject, const QString &folder) const;
    /** For good, not into the trash. */
    QJsonObject remove(const QString &subject) const;
    /** Throws away a message that no server knows. */
    QJsonObject discard(const QString &subject) const;
    /** Puts a new message where the message server looks for what is to be sent. */
    QJsonObject compose(const QString &subject, const QString &recipient) const;

    /** Wants a message sent all the same that the message server has given up. */
    QJsonObject sendAgain(const QString &subject) const;
    /** Lets the message server bring all of a message. */
    QJsonObject fetch(const QString &subject, int seconds) const;
    /** Lets the message server search at the mail server. */
    QJsonObject search(const QString &text, int seconds) const;
    /** Lets the message server "synchronize", "export" or "transmit"; "ended" says whether it did.
     */
    QJsonObject act(const QString &what, int seconds) const;
    /** Lets the daemon synchronise, past the message server, which takes a second wish for a
     * doublet. */
    QJsonObject resynchronize(int seconds) const;
    /** Waits until the message server runs nothing; "left" are the actions that it still runs. */
    QJsonObject awaitIdle(int seconds) const;
    /** Waits until the daemon works on none of its newest requests; "left" are their ids. */
    QJsonObject awaitNoRequest(int seconds) const;

private:
    QMailMessageId find(const QString &subject) const;
    QMailFolderId folder(const QString &path) const;

    const QMailAccountId m_account;
};

} // namespace Faults

#endif
