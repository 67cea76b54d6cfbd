// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_PLUGIN_SERVICESPY_H
#define TESTS_PLUGIN_SERVICESPY_H

#include <qmailmessageservice.h>
#include <QObject>
#include <QStringList>

/**
 * What a message service tells the message server, one line an event, in order:
 *
 *     progress 0/1000
 *     status Progressing...
 *     error 1030
 *     activity 2
 *     completed true
 *     available true
 */
class ServiceSpy : public QObject
{
    Q_OBJECT

public:
    /** Hears `service`, which must live longer. */
    explicit ServiceSpy(QMailMessageService *service);

    /** The events since the last take(). */
    QStringList take();
    /** The same without progress and status texts. */
    QStringList takeOutcome();
    /** How many actions ended since the last take(). */
    int completions() const;
    /** The last status that was reported. */
    QMailServiceAction::Status status() const { return m_status; }

private slots:
    void onStatusChanged(const QMailServiceAction::Status status);

private:
    QStringList m_events;
    QMailServiceAction::Status m_status;
};

/** Texts for comparisons, from literals. */
inline QStringList texts(std::initializer_list<const char *> literals)
{
    QStringList list;
    for (const char *literal : literals)
        list += QString::fromUtf8(literal);
    return list;
}

#endif
