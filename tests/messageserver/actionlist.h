// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_MESSAGESERVER_ACTIONLIST_H
#define TESTS_MESSAGESERVER_ACTIONLIST_H

#include <QList>
#include <qmailserviceaction.h>
#include <QObject>

/**
 * What a client sees of all actions of the message server, its own and others': the list that a
 * mail program shows as "working...". Complete from its construction on, once isReady().
 */
class ActionList : public QObject
{
    Q_OBJECT

public:
    /** One action, while it runs and after its end. */
    struct Entry
    {
        QSharedPointer<QMailActionInfo> info;
        QMailServerRequestType type;
        QList<QMailServiceAction::Activity> activities;
        QList<QPair<uint, uint>> progress;
        QList<QMailAccountId> accounts;

        int endCount() const
        {
            return activities.count(QMailServiceAction::Successful)
                + activities.count(QMailServiceAction::Failed);
        }
    };

    ActionList();

    /** Whether the message server has told which actions there are; wait for it. */
    bool waitUntilReady();
    /** Every action that was ever seen, in the order of their appearance. */
    const QList<Entry> &entries() const { return m_entries; }
    /** Those that are a marker: a synchronisation that the daemon started. */
    QList<Entry> markers() const;
    /** How many are there now. */
    int running() const { return m_observer.actions().size(); }

private:
    void follow(const QList<QSharedPointer<QMailActionInfo>> &actions);
    void add(const QSharedPointer<QMailActionInfo> &info);

    QMailActionObserver m_observer;
    bool m_ready = false;
    QList<Entry> m_entries;
};

#endif
