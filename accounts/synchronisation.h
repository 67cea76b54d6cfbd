// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SYNCHRONISATION_H
#define ACCOUNTS_SYNCHRONISATION_H

#include "accounts/mailsnapshot.h"
#include "accounts/outcome.h"

#include <qmailid.h>
#include <qmailserviceaction.h>

#include <QObject>

#include <memory>

namespace Accounts {

class PartStarter;

/**
 * One synchronisation of an account by the message server, which is started where it does not run.
 *
 * What is missing here is found out before any mail server is asked. Where it fails all the same,
 * the daemon tells the reason.
 */
class Synchronisation : public QObject
{
    Q_OBJECT

public:
    explicit Synchronisation(const QMailAccountId &account, QObject *parent = nullptr);
    ~Synchronisation() override;

    void start();
    /** Ends it soon, as cancelled; called again, without waiting for the message server. */
    void cancel();

    /** Done, or why not and what to do; after finished(). */
    const Outcome &outcome() const { return m_outcome; }
    /** What has changed in the mail store, even where it failed in the middle; after finished(). */
    const QList<FolderDifference> &differences() const { return m_differences; }

signals:
    /** In percent. */
    void progressed(int percent);
    /** From the event loop; once. */
    void finished();

private:
    void partsStarted();
    void onActivity(QMailServiceAction::Activity activity);
    Outcome failure() const;
    void conclude(const Outcome &outcome);
    void end(const Outcome &outcome);

    const QMailAccountId m_account;
    std::unique_ptr<PartStarter> m_parts;
    std::unique_ptr<QMailRetrievalAction> m_action;
    std::unique_ptr<MailSnapshot> m_before;
    QList<FolderDifference> m_differences;
    Outcome m_outcome;
    bool m_cancelled = false;
    bool m_over = false;
};

} // namespace Accounts

#endif
