// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_ACCOUNTRECORD_H
#define DAEMON_STORE_ACCOUNTRECORD_H

#include <qmailid.h>
#include <QMetaType>
#include <QString>

#include <optional>

namespace Store {

/** The settings of one account, as its service configuration "orvmail" has them. */
struct AccountRecord
{
    QMailAccountId id;
    QString name; ///< what the user calls it
    QString email;
    QString domain;
    QString userName;
    QString password; ///< in clear
    QString server;
    int port = 80; ///< 0 where the stored text is no number
    int encryption = 0;
    bool pushEnabled = false;
    /** How many days back messages are kept here; 0: all (key "keepDays", default a month). */
    int keepDays = 30;
    /** Whether a person is told by notifications (key "notifications", default yes). */
    bool notifications = true;

    bool operator==(const AccountRecord &other) const;
    bool operator!=(const AccountRecord &other) const { return !(*this == other); }

    /** Reads the account from the mail store; invalid id where it is not enabled or not ours. */
    static AccountRecord read(const QMailAccountId &id);
    /** The same; nothing where the store cannot be read, which says nothing about the account. */
    static std::optional<AccountRecord> tryRead(const QMailAccountId &id);
};

} // namespace Store

Q_DECLARE_METATYPE(Store::AccountRecord)

#endif
