// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailserviceaction.h>

#include <QJsonObject>
#include <QObject>

#include <functional>

namespace Robot {

/** A mail program that does what it is told, one command at a time: an object with "do" and
   arguments comes in, an object with "ok" goes out. It lives as long as a person's mail program
   would, so what it reads shows what such a program sees. */
class MailRobot : public QObject
{
    Q_OBJECT

public:
    explicit MailRobot(const QString &accountName);

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
    QJsonObject send(const QJsonObject &command);

    QMailAccountId account() const;
    QMailFolderId folderByPath(const QString &path) const;
    QMailMessage compose(const QJsonObject &command) const;
    /** Starts an action and waits for its end; "ok", "code", "text" and "ms" of it. */
    QJsonObject run(QMailServiceAction &action, const std::function<void()> &start) const;

    const QString m_accountName;
};

} // namespace Robot
