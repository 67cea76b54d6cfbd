// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A Sync answer up to the messages that the mail store is given, short of the store itself.
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/mailtext.h"
#include "eas/synccommand.h"
#include "tests/fuzz/answered.h"
#include "tests/support/folderliteral.h"

using namespace Eas;

namespace {

void checkMessage(const MailItem &item)
{
    const QMailMessage message = Store::MessageBuilder::build(item);
    REQUIRE(!message.subject().contains(QLatin1Char('\n')));
    REQUIRE(message.subject().size() <= Store::MailText::MaximumHeaderLength
            || (item.body && item.body->type == Mime));
    REQUIRE(message.size() <= uint(INT_MAX));
    for (const Attachment &attachment : item.attachments.value_or(QList<Attachment>())) {
        const QString name = Store::MailText::fileName(attachment.displayName);
        REQUIRE(!name.contains(QLatin1Char('/')) && !name.contains(QChar(0)));
        REQUIRE(name != QLatin1String("..") && name != QLatin1String("."));
    }
    QMailMessage::fromRfc2822(message.toRfc2822());
    Store::MessageBuilder::updated(message, item);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    SyncRequest request;
    request.collectionId = "mail%2Falice0001"_folder;
    request.syncKey = QStringLiteral("1");
    request.body.truncation = -1;
    Answered<SyncCommand> command(nullptr, QList<SyncRequest> {request});
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 2, int(size) - 2);
    if (command.answer(bytes, qMax(1, bytes.size())).ok()) {
        for (const SyncWindow &window : command.windows()) {
            for (const MailItem &item : window.added + window.changed)
                checkMessage(item);
        }
    }
    return 0;
}
