// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/problemlabel.h"

#include <QEvent>

namespace Accounts {

ProblemLabel::ProblemLabel(QWidget *input, QWidget *parent)
    : QLabel(parent)
    , m_input(input)
{
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    chooseColour();
    hide();
}

void ProblemLabel::tell(const QString &text)
{
    note(text);
    if (m_input)
        m_input->setFocus();
}

void ProblemLabel::note(const QString &text)
{
    setText(text);
    setAccessibleName(text);
    show();
    if (m_input)
        m_input->setAccessibleDescription(text);
}

void ProblemLabel::retract()
{
    hide();
    clear();
    if (m_input)
        m_input->setAccessibleDescription(QString());
}

void ProblemLabel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        chooseColour();
    QLabel::changeEvent(event);
}

void ProblemLabel::chooseColour()
{
    const bool isDark = palette().color(QPalette::Window).lightness() < 128;
    const QColor red(isDark ? 0xff9090 : 0xa00000);
    QPalette own = palette();
    if (own.color(QPalette::WindowText) == red)
        return;
    own.setColor(QPalette::WindowText, red);
    setPalette(own);
}

} // namespace Accounts
