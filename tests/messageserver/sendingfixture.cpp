// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/sendingfixture.h"

#include <qmailmessageremovalrecord.h>
#include <qmailstore.h>
#include <QTest>

namespace {

QString stateOf(const QMailMessageId &id)
{
    const bool waiting = StoreFixture::hasStatus(id, QMailMessage::Outbox);
    const bool sent = StoreFixture::hasStatus(id, QMailMessage::Sent);
    return waiting && sent ? QStringLiteral("contradictory")
        : waiting          ? QStringLiteral("waiting")
        : sent             ? QStringLiteral("sent")
                           : QStringLiteral("accepted");
}

} // namespace

Transmission::Transmission()
{
    QObject::connect(&action, &QMailTransmitAction::messagesTransmitted, &watcher,
                     [this](const QMailMessageIdList &ids) { transmitted += ids; });
    QObject::connect(&action, &QMailTransmitAction::messagesFailedTransmission, &watcher,
                     [this](const QMailMessageIdList &ids) { failed += ids; });
}

QMailMessageId SendingFixture::addOutgoing(const QString &subject) const
{
    return StoreFixture::addOutgoing(m_account, subject);
}

QMailMessageIdList SendingFixture::addOutgoing(int count) const
{
    QMailMessageIdList ids;
    for (int i = 0; i < count; ++i)
        ids.append(addOutgoing(QString(QLatin1Char(char('A' + i)))));
    return ids;
}

ScriptedDaemon::Call SendingFixture::startSending(Transmission &transmission)
{
    transmission.action.transmitMessages(m_account);
    return m_daemon->waitForCall("sendMail");
}

QList<ScriptedDaemon::Call> SendingFixture::waitForSends(int count)
{
    QList<ScriptedDaemon::Call> calls;
    for (int i = 0; i < count; ++i)
        calls.append(m_daemon->waitForCall("sendMail"));
    return calls;
}

QByteArray SendingFixture::outbox() const
{
    QStringList lines;
    const QMailMessageIdList ids =
        QMailStore::instance()->queryMessages(QMailMessageKey::parentAccountId(m_account));
    for (const QMailMessageId &id : ids)
        lines.append(QMailMessageMetaData(id).subject() + QLatin1Char(' ') + stateOf(id));
    lines.sort();
    for (int i = QMailStore::instance()->messageRemovalRecords(m_account).size(); i > 0; --i)
        lines.append(QStringLiteral("recorded"));
    return lines.join(QStringLiteral(", ")).toLatin1();
}
