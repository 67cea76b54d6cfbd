// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <qmailmessageservice.h>
#include <QPluginLoader>
#include <QTest>

#include <memory>

namespace {

using Factory = QMailMessageServiceFactory;

const QString Key = QStringLiteral("orvmail");

QString libraryPath()
{
    return qEnvironmentVariable("QT_PLUGIN_PATH")
        + QStringLiteral("/messageservices/liborvmail.so");
}

} // namespace

class TestServicePlugin : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void isFoundByTheFactoryAsSourceAndSink();
    void servesTheRolesSourceAndSinkOnly();
    void servesExactlyEmail();
    void isOneObjectUntilItIsDestroyed();
    void makesAServiceOfTheAccountWithoutAParent();
    void twoServicesOfOneAccountAreIndependent();
    void everyKeyIsTheOneConstant();

private:
    QMailMessageServicePlugin *plugin();
    QPluginLoader m_loader;
};

void TestServicePlugin::init()
{
    m_loader.setFileName(libraryPath());
    QVERIFY2(plugin(), qPrintable(m_loader.errorString()));
}

QMailMessageServicePlugin *TestServicePlugin::plugin()
{
    return qobject_cast<QMailMessageServicePlugin *>(m_loader.instance());
}

void TestServicePlugin::isFoundByTheFactoryAsSourceAndSink()
{
    QVERIFY(Factory::keys(Factory::Source).contains(Key));
    QVERIFY(Factory::keys(Factory::Sink).contains(Key));
    QVERIFY(!Factory::keys(Factory::Storage).contains(Key));
    QVERIFY(Factory::supports(Key, Factory::Source));
    QVERIFY(Factory::supports(Key, Factory::Sink));
    QVERIFY(Factory::supports(Key, QMailMessage::Email));
    QVERIFY(!Factory::supports(Key, QMailMessage::Sms));
}

void TestServicePlugin::servesTheRolesSourceAndSinkOnly()
{
    QVERIFY(plugin()->supports(Factory::Source));
    QVERIFY(plugin()->supports(Factory::Sink));
    for (const int type : {int(Factory::Any), int(Factory::Storage)})
        QVERIFY2(!plugin()->supports(Factory::ServiceType(type)),
                 qPrintable(QString::number(type)));
}

void TestServicePlugin::servesExactlyEmail()
{
    using Message = QMailMessageMetaDataFwd;
    QVERIFY(plugin()->supports(Message::Email));
    for (const int type :
         {int(Message::None), int(Message::Mms), int(Message::Sms), int(Message::Instant),
          int(Message::System), int(Message::AnyType), Message::Email | Message::Sms, 9})
        QVERIFY2(!plugin()->supports(Message::MessageType(type)),
                 qPrintable(QString::number(type)));
}

void TestServicePlugin::isOneObjectUntilItIsDestroyed()
{
    QObject *first = m_loader.instance();
    QPluginLoader other(libraryPath());
    QCOMPARE(other.instance(), first);
    QCOMPARE(m_loader.instance(), first);
    delete first;
    QVERIFY(plugin());
    QCOMPARE(other.instance(), m_loader.instance());
}

void TestServicePlugin::makesAServiceOfTheAccountWithoutAParent()
{
    const QMailAccountId account(41);
    const std::unique_ptr<QMailMessageService> service(plugin()->createService(account));
    QCOMPARE(service->accountId(), account);
    QVERIFY(!service->parent());
    QCOMPARE(service->metaObject()->className(), "OrvService");
}

void TestServicePlugin::twoServicesOfOneAccountAreIndependent()
{
    const QMailAccountId account(41);
    std::unique_ptr<QMailMessageService> first(plugin()->createService(account));
    const std::unique_ptr<QMailMessageService> second(plugin()->createService(account));
    QVERIFY(first != second);
    QVERIFY(&first->source() != &second->source());
    QVERIFY(&first->sink() != &second->sink());
    first.reset();
    QCOMPARE(second->accountId(), account);
    QVERIFY(second->hasSource());
    QCOMPARE(second->source().metaObject()->className(), "OrvSource");
}

void TestServicePlugin::everyKeyIsTheOneConstant()
{
    const std::unique_ptr<QMailMessageService> service(plugin()->createService(QMailAccountId(41)));
    QCOMPARE(plugin()->key(), Key);
    QCOMPARE(service->service(), Key);
    const auto place = [](const QString &text) { return quintptr(text.constData()); };
    QCOMPARE(place(service->service()), place(plugin()->key()));
    const std::unique_ptr<QMailMessageServiceConfigurator> configurator(
        plugin()->createServiceConfigurator());
    QCOMPARE(place(configurator->service()), place(plugin()->key()));
}

QTEST_GUILESS_MAIN(TestServicePlugin)

#include "tst_serviceplugin.moc"
