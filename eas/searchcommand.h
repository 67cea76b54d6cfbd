// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_SEARCHCOMMAND_H
#define EAS_SEARCHCOMMAND_H

#include "eas/bodypreference.h"
#include "eas/command.h"
#include "eas/folderid.h"

#include <QDateTime>

#include <optional>

namespace Eas {

/** What is looked for in the mailbox. */
struct SearchRequest
{
    QString freeText;                     ///< may be empty; some servers refuse that
    std::optional<FolderId> collectionId; ///< absent: every mail folder
    QDateTime receivedAfter;              ///< invalid: no lower bound
    QDateTime receivedBefore;             ///< invalid: no upper bound; some servers ignore it
    int first = 0;                        ///< the first and last result wanted, counted from 0
    int last = 99;
    BodyPreference body;
};

/** One message that was found. */
struct SearchHit
{
    QString longId;       ///< with which it can be fetched
    QString collectionId; ///< no FolderId: not always as FolderSync tells it
    MailItem item;        ///< without a server id
};

/** Searches the mailbox at the server, [MS-ASCMD] 2.2.1.16. A server may find more than was asked
 * for. */
class SearchCommand : public Command
{
    Q_OBJECT

public:
    SearchCommand(Session *session, const SearchRequest &request);

    const QList<SearchHit> &hits() const { return m_hits; }
    /** Of all results, as the server says; 0 where it does not. */
    int total() const { return m_total; }

protected:
    QByteArray name() const override { return QByteArrayLiteral("Search"); }
    QByteArray body() override;
    AnswerParser *newParser() override;
    Result evaluate() override;
    qint64 answerLimit() const override { return Limits::DownloadSize; }

private:
    class Parser;

    const SearchRequest m_request;
    Parser *m_parser = nullptr;
    QList<SearchHit> m_hits;
    int m_total = 0;
};

} // namespace Eas

#endif
