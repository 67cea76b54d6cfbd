// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The commands' answers, from bytes to what a command hands on. The first byte is the command, the
// second one the length of the pieces that the answer comes in.
#include "eas/fetchattachmentcommand.h"
#include "eas/fetchmessagecommand.h"
#include "eas/foldersynccommand.h"
#include "eas/moveitemscommand.h"
#include "eas/pingcommand.h"
#include "eas/provisioncommand.h"
#include "eas/searchcommand.h"
#include "eas/settingscommand.h"
#include "eas/synccommand.h"
#include "tests/fuzz/answered.h"
#include "tests/support/folderliteral.h"

#include <QBuffer>

using namespace Eas;

namespace {

void checkItem(const MailItem &item, qint64 bodyLimit)
{
    REQUIRE(item.serverId.size() <= Limits::ServerIdLength);
    REQUIRE(!item.attachments || item.attachments->size() <= Limits::Attachments);
    REQUIRE(!item.body || bodyLimit < 0 || item.body->data.size() <= bodyLimit);
    REQUIRE(!item.body || item.body->estimatedSize >= 0);
    REQUIRE(!item.dateReceived || item.dateReceived->isValid());
    if (item.attachments) {
        for (const Attachment &attachment : *item.attachments) {
            REQUIRE(attachment.displayName.size() <= Limits::AttachmentNameLength);
            REQUIRE(attachment.estimatedSize >= 0);
        }
    }
}

void sync(const QByteArray &bytes, int step)
{
    SyncRequest first;
    // Ids as the recorded answers have them.
    first.collectionId = "mail%2Falice0001"_folder;
    first.syncKey = QStringLiteral("1");
    first.body.truncation = 100;
    SyncRequest second = first;
    second.collectionId = "mail%2Falice0002"_folder;
    second.syncKey = QStringLiteral("0");
    second.body.truncation = -1;
    Answered<SyncCommand> command(nullptr, QList<SyncRequest> {first, second});
    if (!command.answer(bytes, step).ok())
        return;
    REQUIRE(command.windows().size() == 2);
    for (const SyncWindow &window : command.windows()) {
        REQUIRE(window.syncKey.size() <= Limits::KeyLength);
        REQUIRE(!window.result.ok() || !window.syncKey.isEmpty());
        REQUIRE(window.added.size() + window.changed.size() <= Limits::Items);
        for (const MailItem &item : window.added + window.changed) {
            REQUIRE(!item.serverId.isEmpty());
            checkItem(item, -1);
        }
    }
}

void folderSync(const QByteArray &bytes, int step)
{
    Answered<FolderSyncCommand> command(nullptr, QStringLiteral("0"));
    if (!command.answer(bytes, step).ok())
        return;
    const FolderChanges &changes = command.changes();
    REQUIRE(!changes.syncKey.isEmpty() && changes.syncKey.size() <= Limits::KeyLength);
    for (const FolderRecord &folder : changes.added + changes.updated) {
        REQUIRE(!folder.serverId.isEmpty()
                && folder.serverId.text().size() <= Limits::ServerIdLength);
        REQUIRE(folder.displayName.size() <= Limits::FolderNameLength);
    }
}

void fetchMessage(const QByteArray &bytes, int step)
{
    QBuffer target;
    target.open(QIODevice::WriteOnly);
    Answered<FetchMessageCommand> command(nullptr, ItemLocator(), &target);
    if (command.answer(bytes, step).ok())
        checkItem(command.item(), 0);
}

void fetchAttachment(const QByteArray &bytes, int step)
{
    QBuffer target;
    target.open(QIODevice::WriteOnly);
    Answered<FetchAttachmentCommand> command(nullptr, QStringLiteral("a"), &target);
    if (command.answer(bytes, step).ok())
        REQUIRE(target.size() <= bytes.size());
}

void search(const QByteArray &bytes, int step)
{
    SearchRequest request;
    request.body.truncation = 100;
    Answered<SearchCommand> command(nullptr, request);
    if (!command.answer(bytes, step).ok())
        return;
    REQUIRE(command.hits().size() <= Limits::SearchResults && command.total() >= 0);
    for (const SearchHit &hit : command.hits()) {
        REQUIRE(!hit.longId.isEmpty());
        checkItem(hit.item, 100);
    }
}

void provision(const QByteArray &bytes, int step)
{
    Answered<ProvisionCommand> command(nullptr);
    if (command.answer(bytes, step).ok())
        REQUIRE(command.key().size() <= Limits::KeyLength);
    Answered<ProvisionCommand>(nullptr, QStringLiteral("1")).answer(bytes, step);
}

void ping(const QByteArray &bytes, int step)
{
    Answered<PingCommand> command(nullptr, 60, QList<FolderId>());
    command.answer(bytes, step);
    REQUIRE(command.changedFolders().size() <= Limits::Folders);
    REQUIRE(command.heartbeat() >= 0 && command.maxFolders() >= 0);
}

void moveItems(const QByteArray &bytes, int step)
{
    const MoveRequest one = {QStringLiteral("1"), "5"_folder, "6"_folder};
    const MoveRequest two = {QStringLiteral("2"), "5"_folder, "6"_folder};
    Answered<MoveItemsCommand> command(nullptr, QList<MoveRequest> {one, two});
    if (command.answer(bytes, step).ok())
        REQUIRE(command.outcomes().size() == 2);
}

void settings(const QByteArray &bytes, int step)
{
    Answered<SettingsCommand>(nullptr).answer(bytes, step);
}

using Target = void (*)(const QByteArray &, int);
constexpr Target targets[] = {sync,      folderSync, fetchMessage, fetchAttachment, search,
                              provision, ping,       moveItems,    settings};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 2, int(size) - 2);
    targets[data[0] % (sizeof targets / sizeof *targets)](bytes, 1 + data[1] * 16);
    return 0;
}
