// SPDX-License-Identifier: LGPL-2.1-or-later
#include <QFile>
#include <qmailmessageservice.h>
#include <QTest>

#include <memory>

namespace {

QStringList warnings;

void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtWarningMsg)
        warnings.append(text);
}

bool isMapped(const char *library)
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly))
        qFatal("no /proc/self/maps");
    return maps.readAll().contains(library);
}

} // namespace

/**
 * The plugin where there is no form to show: built without widgets this is a program like the
 * message server, built with them it is run where the settings module is missing.
 */
class TestWithoutForm : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void configuratorStillNamesTheService();
    void editorIsNullWithOneWarning();
    void pluginLoadsNoWidgetLibraries();

private:
    std::unique_ptr<QMailMessageServiceConfigurator> m_configurator;
};

void TestWithoutForm::init()
{
    m_configurator.reset(
        QMailMessageServiceFactory::createServiceConfigurator(QStringLiteral("orvmail")));
    QVERIFY(m_configurator);
}

void TestWithoutForm::configuratorStillNamesTheService()
{
    QCOMPARE(m_configurator->service(), QStringLiteral("orvmail"));
    QCOMPARE(m_configurator->displayName(), QStringLiteral("ORV"));
}

void TestWithoutForm::editorIsNullWithOneWarning()
{
    for (const auto type : {QMailMessageServiceFactory::Source, QMailMessageServiceFactory::Sink,
                            QMailMessageServiceFactory::Storage}) {
        warnings.clear();
        const QtMessageHandler before = qInstallMessageHandler(collectWarnings);
        const std::unique_ptr<QMailMessageServiceEditor> editor(m_configurator->createEditor(type));
        qInstallMessageHandler(before);
        QVERIFY(!editor);
        QCOMPARE(warnings.size(), type == QMailMessageServiceFactory::Storage ? 0 : 1);
        if (!warnings.isEmpty())
            QVERIFY(warnings.first().startsWith(QLatin1String("orvmail: no settings form")));
    }
}

void TestWithoutForm::pluginLoadsNoWidgetLibraries()
{
    QVERIFY(isMapped("liborvmail.so"));
    QVERIFY(!isMapped("liborvmail-settings.so"));
    const bool hasWidgets = QCoreApplication::instance()->inherits("QApplication");
    QCOMPARE(isMapped("libQt5Gui"), hasWidgets);
    QCOMPARE(isMapped("libQt5Widgets"), hasWidgets);
}

QTEST_MAIN(TestWithoutForm)
#include "tst_withoutform.moc"
