// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/accountbook.h"
#include "accounts/status/statusview.h"
#include "accounts/window/accountwindow.h"
#include "tests/support/storefixture.h"
#include "tests/translations/marker.h"
#include "translations/translation.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>

#include <memory>

using Accounts::AccountWindow;

namespace {

/** A language that is written from right to left: English behind a mark of that direction. */
class RightToLeft : public QTranslator
{
public:
    using QTranslator::QTranslator;

    QString translate(const char *, const char *source, const char *, int) const override
    {
        return qstrcmp(source, "QT_LAYOUT_DIRECTION") == 0
            ? QStringLiteral("RTL")
            : QChar(0x200f) + QString::fromUtf8(source);
    }
    bool isEmpty() const override { return false; }
};

/** Everything that is read or read aloud in the window, hidden as well. */
QStringList textsOf(const QWidget &window)
{
    QStringList texts {window.windowTitle()};
    QList<const QWidget *> widgets {&window};
    for (const QWidget *widget : window.findChildren<QWidget *>())
        widgets.append(widget);
    for (const QWidget *widget : qAsConst(widgets)) {
        texts << widget->toolTip() << widget->accessibleName() << widget->accessibleDescription();
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            texts << label->text();
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            texts << button->text();
        if (const auto *group = qobject_cast<const QGroupBox *>(widget))
            texts << group->title();
        if (const auto *line = qobject_cast<const QLineEdit *>(widget))
            texts << line->placeholderText();
        if (const auto *choice = qobject_cast<const QComboBox *>(widget)) {
            for (int i = 0; i < choice->count(); ++i)
                texts << choice->itemText(i);
        }
        if (const auto *list = qobject_cast<const QListWidget *>(widget)) {
            for (int i = 0; i < list->count(); ++i)
                texts << list->item(i)->text();
        }
    }
    for (const QAction *action : window.findChildren<QAction *>())
        texts << action->text() << action->toolTip();
    return texts;
}

/** Without what was looked up, what is typed as it is, and the account's own names. */
QString unmarked(QString text)
{
    text.remove(QLatin1Char('&'));
    text.remove(QRegularExpression(QStringLiteral("\u00ab[^\u00ab\u00bb]*\u00bb")));
    text.remove(
        QRegularExpression(QStringLiteral("alice@example\\.com|127\\.0\\.0\\.1|\\bWork\\b")));
    return text;
}

} // namespace

/** The window in German, and in a language that is written from right to left. */
class TestTranslatedWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void everyTextIsLookedUp();
    void windowIsInTheLanguage();
    void statusIsInTheLanguage();
    void nothingIsCutOff_data();
    void nothingIsCutOff();

private:
    void open();
    void take(const char *what) const;

    std::unique_ptr<AccountWindow> m_window;
};

void TestTranslatedWindow::initTestCase()
{
    QVERIFY(Accounts::AccountBook::open().ok());
    QCOMPARE(Translation::install(Translation::Scope::AllTexts).language(), QLocale::German);
}

void TestTranslatedWindow::init()
{
    StoreFixture::clear();
    StoreFixture::Account account;
    account.name = QStringLiteral("Work");
    StoreFixture::addAccount(account);
}

void TestTranslatedWindow::cleanup()
{
    m_window.reset();
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

void TestTranslatedWindow::open()
{
    m_window = std::make_unique<AccountWindow>();
    QVERIFY(m_window->isUsable());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->findChild<QListWidget *>(QStringLiteral("accounts"))->setCurrentRow(1);
}

/** A picture in the build folder, where one is named. */
void TestTranslatedWindow::take(const char *what) const
{
    const QString folder = qEnvironmentVariable("ORVMAIL_BUILD_DIR");
    if (!folder.isEmpty())
        QVERIFY(m_window->grab().save(
            QStringLiteral("%1/account-window-%2.png").arg(folder, QLatin1String(what))));
}

void TestTranslatedWindow::everyTextIsLookedUp()
{
    Marker marker;
    QCoreApplication::installTranslator(&marker);
    open();
    const QStringList texts = textsOf(*m_window);
    QVERIFY(texts.size() > 20);
    const QRegularExpression word(QStringLiteral("[^\\W\\d_]{2,}"));
    for (const QString &text : texts)
        QVERIFY2(!unmarked(text).contains(word), qPrintable(text));
}

void TestTranslatedWindow::windowIsInTheLanguage()
{
    open();
    const QString all = textsOf(*m_window).join(QLatin1Char('\n')).remove(QLatin1Char('&'));
    for (const char *text : {"Mailkonten", "Speichern", "Benutzername", "Verschlüsselung"})
        QVERIFY2(all.contains(QString::fromUtf8(text)), qPrintable(all));
}

/** With what the daemon tells in English, and dates and numbers as they are written there. */
void TestTranslatedWindow::statusIsInTheLanguage()
{
    Accounts::AccountView account;
    account.details.name = QStringLiteral("Work");
    account.details.enabled = true;
    account.details.settings.server = QStringLiteral("mail.example.com");
    account.status.syncedAt = 1795338600; // 2026-11-22 09:10 UTC
    account.status.syncCode = Eas::Timeout;
    account.status.syncText = QStringLiteral("mail.example.com does not answer in time.");
    account.status.errorCode = Eas::Timeout;
    account.status.errorText = account.status.syncText;
    account.status.changes = 1200;
    const QString told = linesOf(account).join(QLatin1Char('\n'));
    const QString time =
        QLocale(QLocale::German)
            .toString(QDateTime::fromSecsSinceEpoch(account.status.syncedAt), QLocale::ShortFormat);
    QVERIFY2(time.startsWith(QLatin1String("22.11.")), qPrintable(time));
    for (const QString &line :
         {QStringLiteral("synchronisiert %1, gescheitert: mail.example.com antwortet nicht "
                         "rechtzeitig. (noch nie mit Erfolg)")
              .arg(time),
          QStringLiteral("1.200 Änderungen von hier sind noch nicht beim Server"),
          QStringLiteral("mail.example.com antwortet nicht rechtzeitig; prüfen Sie Server, Port "
                         "und Netz.")})
        QVERIFY2(told.contains(line), qPrintable(told));
}

void TestTranslatedWindow::nothingIsCutOff_data()
{
    QTest::addColumn<bool>("isRightToLeft");
    QTest::newRow("german") << false;
    QTest::newRow("right-to-left") << true;
}

void TestTranslatedWindow::nothingIsCutOff()
{
    QFETCH(bool, isRightToLeft);
    RightToLeft language;
    if (isRightToLeft)
        QCoreApplication::installTranslator(&language);
    open();
    QCOMPARE(m_window->layoutDirection(), isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    for (const QWidget *widget : m_window->findChildren<QWidget *>()) {
        if (!widget->isVisible()
            || !(qobject_cast<const QAbstractButton *>(widget)
                 || qobject_cast<const QLineEdit *>(widget)))
            continue;
        QVERIFY2(widget->width() >= widget->minimumSizeHint().width(),
                 qPrintable(widget->objectName()));
        QVERIFY2(widget->height() >= widget->minimumSizeHint().height(),
                 qPrintable(widget->objectName()));
    }
    take(QTest::currentDataTag());
}

QTEST_MAIN(TestTranslatedWindow)
#include "tst_translatedwindow.moc"
