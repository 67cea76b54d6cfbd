// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/tasks/workreport.h"
#include "tests/support/storefixture.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <qmailstore.h>
#include <QProcess>
#include <QTest>

using Daemon::Alarm;
using Daemon::WorkReport;

namespace {

/**
 * Counts how often other processes were told of messages.
 *
 * It does not run the event loop, in which the mail store's own timer would tell what it has
 * gathered.
 */
class ToldMessages
{
public:
    ToldMessages()
    {
        m_monitor.start(QStringLiteral("dbus-monitor"),
                        {QStringLiteral("--session"),
                         QStringLiteral("type='signal',interface='org.qt.mailstore'")});
    }
    ~ToldMessages()
    {
        m_monitor.kill();
        m_monitor.waitForFinished();
    }

    // With its name it loses all of a connection but what it watches.
    bool isWatching() { return awaitText("member=NameLost"); }
    /** How often until now; a signal that is sent behind all others tells when they have come. */
    int count()
    {
        const QByteArray mark = "Mark" + QByteArray::number(++m_marks);
        QDBusConnection::sessionBus().send(
            QDBusMessage::createSignal(QStringLiteral("/test"), QStringLiteral("org.qt.mailstore"),
                                       QString::fromLatin1(mark)));
        if (!awaitText("member=" + mark))
            qFatal("the bus is not watched");
        return m_text.count("member=messagesChanged");
    }

private:
    bool awaitText(const QByteArray &text)
    {
        while (!m_text.contains(text) && m_monitor.waitForReadyRead())
            m_text += m_monitor.readAllStandardOutput();
        return m_text.contains(text);
    }

    QProcess m_monitor;
    QByteArray m_text;
    int m_marks = 0;
};

} // namespace

/** When other processes hear of what was written to the mail store. */
class TestWorkReport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Alarm::drive(); }
    void init();
    void cleanup() { StoreFixture::clear(); }

    void newsIsToldAtOnceAndThenInBundles();
    void anEndIsToldAtOnce();

private:
    void addMessage() { StoreFixture::addMessage(m_account, m_inbox); }
    /** Takes driven time on. */
    static void pass(int milliseconds)
    {
        Alarm alarm;
        alarm.start(milliseconds);
        Alarm::ringNext();
    }

    QMailAccountId m_account;
    QMailFolderId m_inbox;
};

void TestWorkReport::init()
{
    m_account = StoreFixture::addAccount();
    m_inbox = StoreFixture::addFolder(m_account, QStringLiteral("Inbox"));
    // From now on the mail store gathers.
    addMessage();
    QMailStore::instance()->flushIpcNotifications();
}

void TestWorkReport::newsIsToldAtOnceAndThenInBundles()
{
    ToldMessages told;
    QVERIFY(told.isWatching());
    WorkReport report;
    addMessage();
    QCOMPARE(told.count(), 0);
    report.tellNews();
    QCOMPARE(told.count(), 1);
    for (int i = 0; i < 10; ++i) {
        addMessage();
        report.tellNews();
    }
    pass(Daemon::Pauses::BetweenTellings - 1);
    report.tellNews();
    QCOMPARE(told.count(), 1);
    pass(1);
    report.tellNews();
    QCOMPARE(told.count(), 2);
}

void TestWorkReport::anEndIsToldAtOnce()
{
    ToldMessages told;
    QVERIFY(told.isWatching());
    WorkReport report;
    report.tellNews();
    addMessage();
    report.endSync(m_account.toULongLong());
    QCOMPARE(told.count(), 1);
    addMessage();
    report.endRequest(1, 200);
    QCOMPARE(told.count(), 2);
    // It counts for the news, too.
    addMessage();
    report.tellNews();
    QCOMPARE(told.count(), 2);
}

QTEST_GUILESS_MAIN(TestWorkReport)
#include "tst_workreport.moc"
