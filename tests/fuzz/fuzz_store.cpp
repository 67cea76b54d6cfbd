// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Answers to Sync and FolderSync through to the mail store: a real one, in a folder of its own. The
// first byte says which of the two.
#include "daemon/store/folderwriter.h"
#include "eas/foldersynccommand.h"
#include "eas/synccommand.h"
#include "tests/fuzz/answered.h"
#include "tests/store/items.h"

#include <qmailstore.h>

using namespace Eas;

namespace {

SyncedAccount &account()
{
    static auto *synced = new SyncedAccount;
    return *synced;
}

void removeMessages()
{
    const auto key = QMailMessageKey::parentAccountId(account().id);
    REQUIRE(QMailStore::instance()->removeMessages(key, QMailStore::NoRemovalRecord));
}

void sync(const QByteArray &bytes)
{
    SyncRequest request;
    request.collectionId = "mail%2Falice0001"_folder;
    request.syncKey = QStringLiteral("1");
    request.body.truncation = -1;
    Answered<SyncCommand> command(nullptr, QList<SyncRequest> {request});
    if (!command.answer(bytes, qMax(1, bytes.size())).ok())
        return;
    for (SyncWindow window : command.windows()) {
        if (!window.result.ok())
            continue;
        window.collectionId = Items::InboxId;
        const int added = window.added.size() + window.changed.size();
        account().write(window);
        // The same once more, as after a lost key: nothing is there twice.
        const int first = account().messages().size();
        account().write(window);
        REQUIRE(account().messages().size() <= first);
        REQUIRE(first <= added);
    }
    removeMessages();
}

void folderSync(const QByteArray &bytes)
{
    Answered<FolderSyncCommand> command(nullptr, QStringLiteral("1"));
    if (!command.answer(bytes, qMax(1, bytes.size())).ok())
        return;
    FolderChanges changes = command.changes();
    Store::FolderWriter(account().db, account().id, changes).run();
    const auto known = account().folders.all();
    for (const Store::FolderState &state : known)
        REQUIRE(QMailFolder(state.folderId).parentAccountId() == account().id);
    // Everything goes, for the next input to begin as this one did.
    FolderChanges back = Items::usualFolders();
    QSet<FolderId> usual;
    for (const FolderRecord &folder : qAsConst(back.added))
        usual.insert(folder.serverId);
    FolderChanges removal;
    removal.syncKey = QStringLiteral("f1");
    for (const Store::FolderState &state : known) {
        if (!usual.contains(state.serverId))
            removal.removed.append(state.serverId);
    }
    Store::FolderWriter(account().db, account().id, removal).run();
    Store::FolderWriter(account().db, account().id, back).run();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 2, int(size) - 2);
    if (data[0] == 0)
        sync(bytes);
    else
        folderSync(bytes);
    return 0;
}
