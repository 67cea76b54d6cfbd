// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/foldersynccommand.h"

#include "eas/log.h"
#include "eas/status.h"
#include "eas/synckey.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace F = Tags::FolderHierarchy;

enum FolderStatus { Ok = 1, ServerError = 6, KeyInvalid = 9, Malformed = 10 };

Result folderStatusResult(int status)
{
    switch (status) {
    case Ok:
        return {};
    case ServerError:
        return statusResult(ServerFailed, status, FailureText::mark("the server failed"),
                            Outcome::TryLater);
    case KeyInvalid:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the folder tree's key is not accepted"),
                            Outcome::KeyLost);
    case Malformed:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server did not understand the request"));
    default:
        return commonStatusResult(status);
    }
}

} // namespace

class FolderSyncCommand::Parser : public AnswerParser
{
public:
    Parser()
        : AnswerParser(F::FolderSync)
    {
    }

    FolderChanges changes;

protected:
    void startElement(Tag tag) override
    {
        if (tag == F::Add || tag == F::Update || tag == F::Delete)
            m_folder = {};
    }

    void endElement(Tag tag, const QByteArray &text) override
    {
        switch (tag) {
        case F::SyncKey:
            changes.syncKey = QString::fromUtf8(text.left(Limits::KeyLength));
            break;
        case F::ServerId:
            m_folder.serverId = FolderId(QString::fromUtf8(text));
            break;
        case F::ParentId:
            m_folder.parentId = FolderId(QString::fromUtf8(text));
            break;
        case F::DisplayName:
            m_folder.displayName = QString::fromUtf8(text).left(Limits::FolderNameLength);
            break;
        case F::Type:
            m_folder.type = text.trimmed().toInt();
            break;
        case F::Add:
        case F::Update:
        case F::Delete:
            take(tag);
            break;
        default:
            break;
        }
    }

private:
    void take(Tag tag)
    {
        if (++m_count > Limits::Folders) {
            fail(FailureText::english("more than %1 folders").arg(Limits::Folders));
        } else if (m_folder.serverId.isEmpty()
                   || m_folder.serverId.text().size() > Limits::ServerIdLength
                   || m_folder.parentId.text().size() > Limits::ServerIdLength) {
            qCWarning(lcEas, "leaving out a folder without a usable id");
        } else if (tag == F::Delete) {
            changes.removed.append(m_folder.serverId);
        } else {
            (tag == F::Add ? changes.added : changes.updated).append(m_folder);
        }
    }

    FolderRecord m_folder;
    int m_count = 0;
};

FolderSyncCommand::FolderSyncCommand(Session *session, const QString &syncKey)
    : Command(session)
    , m_syncKey(syncKey)
{
}

QByteArray FolderSyncCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(F::FolderSync);
    writer.element(F::SyncKey, m_syncKey);
    writer.endDocument();
    return bytes;
}

AnswerParser *FolderSyncCommand::newParser()
{
    return m_parser = new Parser;
}

Result FolderSyncCommand::evaluate()
{
    const Result result = folderStatusResult(m_parser->status());
    if (!result.ok())
        return result;
    m_changes = m_parser->changes;
    m_changes.complete = m_syncKey == FirstKey;
    return m_changes.syncKey.isEmpty()
        ? Result {InvalidAnswer, FailureText::english("an answer without a synchronisation key")}
        : Result {};
}

} // namespace Eas
