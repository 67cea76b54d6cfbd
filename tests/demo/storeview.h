// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DEMO_STOREVIEW_H
#define TESTS_DEMO_STOREVIEW_H

#include <qmailfolder.h>
#include <qmailid.h>
#include <qmailmessage.h>

#include <QString>

namespace Demo {

/** What a mail program would show: the mail store of one account, as text on the terminal. */
class StoreView
{
public:
    explicit StoreView(const QMailAccountId &account);

    /** The folder tree with the number of messages and of unread ones. */
    void printFolders() const;
    /** The newest `limit` messages of a folder, one a line. */
    void printMessages(const QString &folder, int limit) const;
    /** One message as a person reads it, with its list of attachments. */
    void printMessage(const QMailMessageId &id) const;
    /** One line: where the message is, its flags, and how much of it is here. */
    void printState(const QMailMessageId &id) const;

    /** Writes the message's first attachment into a file; false when it is not here. */
    bool saveAttachment(const QMailMessageId &id, const QString &path) const;

    /** The messages whose subject or preview contains `text`, with the folder of each. */
    void printMatches(const QString &text) const;

    /** Folder by its path ("Work/2026"); invalid when there is none. */
    QMailFolderId folderByPath(const QString &path) const;
    /** Newest message whose subject contains `subject`; invalid when there is none. */
    QMailMessageId messageBySubject(const QString &subject) const;

private:
    QString folderPath(const QMailFolder &folder) const;

    QMailAccountId m_account;
};

} // namespace Demo

#endif
