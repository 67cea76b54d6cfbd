// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_WAITINGBAR_H
#define ACCOUNTS_WINDOW_WAITINGBAR_H

#include <QTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

namespace Accounts {

/** What has just happened, or what is waited for and since when, with the button that ends it. */
class WaitingBar : public QWidget
{
    Q_OBJECT

public:
    explicit WaitingBar(QWidget *parent = nullptr);

    void say(const QString &text);
    /** Shows the text, the seconds that pass, and the button. */
    void waitFor(const QString &what);
    /** From now on, until the end, a bar is shown, too. */
    void showProgress(int percent);
    /** The end of the waiting; nothing is said any more. */
    void stop();

signals:
    void cancelled();

private:
    void showWaiting();

    QLabel *m_text;
    QProgressBar *m_progress;
    QPushButton *m_cancel;
    QString m_what;
    int m_seconds = 0;
    QTimer m_ticker;
};

} // namespace Accounts

#endif
