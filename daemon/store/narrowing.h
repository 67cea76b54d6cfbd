// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_NARROWING_H
#define DAEMON_STORE_NARROWING_H

#include <qmailid.h>
#include <qmailmessage.h>
#include <qmailmessagekey.h>
#include <QString>

namespace Store {

/**
 * Narrows a question to the mail store from all messages of an account to the few that matter.
 *
 * There are nearly never any, and a partial index (StoreIndexes) knows them by the state that the
 * database is in now. Where the index is not there, or knows many, the question stays as it is: the
 * answer is the same in each case.
 */
class Narrowing
{
public:
    /** An index of those rows alone that fulfil the condition. */
    struct Index
    {
        QString name;
        QString table;
        QString column;
        QString condition;
    };

    /**
     * Messages of an account with which something may be left to do: a flag or a move to carry, or
     * a mail on its way out.
     */
    static Index unsettledIndex();
    /** Those that FoundMark is on. */
    static Index foundIndex();

    /** For a key that can match only messages of the account that are unsettled. */
    static QMailMessageKey unsettled(const QMailAccountId &account, const QMailMessageKey &key);
    /** The messages of such a key; the mail store is not asked for them where there can be none. */
    static QMailMessageMetaDataList unsettled(const QMailAccountId &account,
                                              const QMailMessageKey &key,
                                              const QMailMessageKey::Properties &properties);
    /** Those of a key's messages that FoundMark is on; of all, where the key is empty. */
    static QMailMessageKey found(const QMailMessageKey &among);

private:
    Narrowing() = delete;
};

} // namespace Store

#endif
