// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STAGE_ROBOT_MAILROBOT_H
#define TESTS_STAGE_ROBOT_MAILROBOT_H

#include <QHash>
#include <QJsonObject>
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailmessagekey.h>
#include <qmailserviceaction.h>
#include <QObject>

#include <functional>

namespace Robot {

/** A mail program that does what it is told, one command at a time: an object with "do" and
   arguments comes in, an object with "ok" goes out. It lives as long as a person's mail program
   would, so what it reads shows what such a program sees.

   Messages are named by "ids", by "subject" (the newest one of it) or by "folder" (all that are in
   it). What takes time ends after "seconds". */
class MailRobot : public QObject
{
public:
    using Tell = std::function<void(const QJsonObject &)>;

    /** Progress goes to `tell` before the answer: "value" and "total", where a command asks for it
       with "progress". */
    MailRobot(const QString &accountName, const Tell &tell);

    QJsonObject obey(const QJsonObject &command);

private:
    using Handler = QJsonObject (MailRobot::*)(const QJsonObject &);

    QJsonObject synchronize(const QJsonObject &command);
    QJsonObject exportUpdates(const QJsonObject &command);
    QJsonObject folderList(const QJsonObject &command);
    QJsonObject refresh(const QJsonObject &command);
    QJsonObject folders(const QJsonObject &command);
    QJsonObject messages(const QJsonObject &command);
    QJsonObject flag(const QJsonObject &command);
    QJsonObject move(const QJsonObject &command);
    QJsonObject remove(const QJsonObject &command);
    QJsonObject fetch(const QJsonObject &command);
    QJsonObject part(const QJsonObject &command);
    QJsonObject search(const QJsonObject &command);
    QJsonObject compose(const QJsonObject &command);
    QJsonObject edit(const QJsonObject &command);
    QJsonObject transmit(const QJsonObject &command);
    QJsonObject sendAgain(const QJsonObject &command);
    QJsonObject watch(const QJsonObject &command);
    QJsonObject await(const QJsonObject &command);
    QJsonObject daemonSync(const QJsonObject &command);
    QJsonObject awaitIdle(const QJsonObject &command);
    QJsonObject awaitNoRequest(const QJsonObject &command);

    QMailAccountId account() const;
    QMailFolderId folderByPath(const QString &path) const;
    QMailMessageKey keyOf(const QJsonObject &command) const;
    /** What a command is about. */
    QMailMessageIdList named(const QJsonObject &command) const;
    /** Starts an action and waits for its end; "ok", "ended", "code", "text" and "ms" of it. */
    QJsonObject run(const QJsonObject &command, QMailServiceAction &action,
                    const std::function<void()> &start) const;

    const QString m_accountName;
    const Tell m_tell;
    QHash<QString, QMailMessageId> m_arrived; ///< what came since watch(), by its subject
};

} // namespace Robot

#endif
