// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_PROBLEMLABEL_H
#define ACCOUNTS_WINDOW_PROBLEMLABEL_H

#include <QLabel>
#include <QPointer>

namespace Accounts {

/** Tells at an input what is wrong with it, in a red that is readable on the palette's ground. */
class ProblemLabel : public QLabel
{
    Q_OBJECT

public:
    /** `input`: what it is about, and what a screen reader tells it at; null: nothing certain. */
    ProblemLabel(QWidget *input, QWidget *parent);

    /** Shows the text and puts the cursor into the input. */
    void tell(const QString &text);
    /** Shows the text alone: a person may be typing elsewhere. */
    void note(const QString &text);
    void retract();

protected:
    void changeEvent(QEvent *event) override;

private:
    void chooseColour();

    QPointer<QWidget> m_input;
};

} // namespace Accounts

#endif
