// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/messageserver.h"
#include "tests/support/storefixture.h"

#include <QFile>
#include <QTest>

/** The real message server with an account of ours: what it loads for that. */
class TestServerMemory : public QObject
{
    Q_OBJECT

private slots:
    void messageServerLoadsNoWidgetLibraries();
};

void TestServerMemory::messageServerLoadsNoWidgetLibraries()
{
    if (!MessageServer::isInstalled())
        QSKIP("no message server here");
    StoreFixture::addAccount();
    MessageServer server;
    QVERIFY(server.start());
    const auto maps = [&server] {
        QFile file(QStringLiteral("/proc/%1/maps").arg(server.processId()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    QTRY_VERIFY(maps().contains("liborvmail.so"));
    QVERIFY(server.settle());
    QVERIFY(!maps().contains("liborvmail-settings.so"));
    QVERIFY(!maps().contains("libQt5Gui"));
    QVERIFY(!maps().contains("libQt5Widgets"));
    QVERIFY(server.terminate());
}

QTEST_GUILESS_MAIN(TestServerMemory)
#include "tst_servermemory.moc"
