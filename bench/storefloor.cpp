// SPDX-License-Identifier: LGPL-2.1-or-later
// usage: storefloor PORT [USER ROUNDS CHANGES...]
//
// The floor of a synchronisation: adds what alice has in her inbox at the test server to a mail
// store that is empty but for the daemon's indexes. The very same messages: fetched and built by
// the daemon's own classes, which is not measured; only the store's work is. Then makes as many
// changes to that store, by turns a new message of USER's inbox and a flag, the median of ROUNDS,
// and then a removal so often. Prints one line of JSON, CPU times in milliseconds.
#include "bench/floorthreads.h"
#include "bench/makeindexes.h"
#include "bench/serverinbox.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/messageflags.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"

#include <QCoreApplication>
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

double cpuMs()
{
    struct timespec time = {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/** An account with an empty inbox. */
Store::FolderState makeFolder(const Eas::FolderRecord &inbox)
{
    QMailAccount account;
    account.setName(QStringLiteral("floor"));
    account.setMessageType(QMailMessage::Email);
    account.setStatus(QMailAccount::Enabled, true);
    QMailStore::instance()->addAccount(&account, nullptr);
    QMailFolder folder(inbox.displayName, QMailFolderId(), account.id());
    QMailStore::instance()->addFolder(&folder);
    Store::FolderState state;
    state.serverId = inbox.serverId;
    state.folderId = folder.id();
    state.type = inbox.type;
    return state;
}

using Messages = std::vector<QMailMessage>;

/** The messages as the daemon stores them. */
Messages built(const QList<Eas::MailItem> &items, const Store::FolderState &folder,
               const Eas::FolderId &origin)
{
    Messages messages;
    const QMailAccountId account = QMailFolder(folder.folderId).parentAccountId();
    for (const Eas::MailItem &item : items) {
        QMailMessage message = Store::MessageBuilder::build(item);
        message.setParentAccountId(account);
        message.setParentFolderId(folder.folderId);
        Store::ServerUid::item(origin, item.serverId).assignTo(&message);
        message.setStatus(Store::messageFlags(folder), true);
        messages.push_back(message);
    }
    return messages;
}

/** CPU milliseconds of adding the messages. */
double add(const QList<QMailMessage *> &messages, FloorThreads *threads)
{
    if (messages.isEmpty())
        return 0;
    const double before = cpuMs();
    if (!QMailStore::instance()->addMessages(messages))
        qFatal("the store accepted no messages");
    const double cpu = cpuMs() - before;
    for (const QMailMessage *message : messages)
        threads->note(*message);
    return cpu;
}

/** The same, in the threads of their conversations: one that is new is known by its first message.
 */
double addInThreads(Messages messages, FloorThreads *threads)
{
    std::stable_sort(messages.begin(), messages.end(), [](const auto &a, const auto &b) {
        return a.date().toUTC() < b.date().toUTC();
    });
    QList<QMailMessage *> now;
    QList<QMailMessage *> next;
    QSet<QByteArray> begun;
    for (QMailMessage &message : messages) {
        const QByteArray conversation = Store::MessageBuilder::conversationId(message);
        const bool waits = !threads->join(&message) && begun.contains(conversation);
        (waits ? next : now).append(&message);
        if (!conversation.isEmpty())
            begun.insert(conversation);
    }
    const double cpu = add(now, threads);
    for (QMailMessage *message : qAsConst(next))
        threads->join(message);
    return cpu + add(next, threads);
}

/** CPU milliseconds of making all of it durable. */
double makeDurable()
{
    const double before = cpuMs();
    if (!QMailStore::instance()->ensureDurability())
        qFatal("the store cannot be made durable");
    return cpuMs() - before;
}

/** CPU milliseconds of marking so many messages as read or unread, by the server. */
double flag(int count, const QMailFolderId &folder, bool isRead)
{
    if (count == 0)
        return 0;
    const double before = cpuMs();
    const QMailMessageIdList known = QMailStore::instance()->queryMessages(
        QMailMessageKey::parentFolderId(folder), QMailMessageSortKey(), uint(count));
    if (!QMailStore::instance()->updateMessagesMetaData(
            QMailMessageKey::id(known), QMailMessage::Read | QMailMessage::ReadElsewhere, isRead))
        qFatal("the store accepted no flags");
    return cpuMs() - before;
}

/** CPU milliseconds of so many changes, one half of them new messages of another mailbox. */
double change(int count, QList<Eas::MailItem> *news, const Store::FolderState &folder,
              const Eas::FolderId &origin, FloorThreads *threads, bool isRead)
{
    QList<Eas::MailItem> items;
    for (int i = 0; i < count; i += 2) {
        if (news->isEmpty())
            qFatal("there are not enough new messages");
        items.append(news->takeFirst());
    }
    return addInThreads(built(items, folder, origin), threads)
        + flag(count / 2, folder.folderId, isRead) + makeDurable();
}

double median(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

/** CPU milliseconds of removing one message, the median of some rounds. */
double removal(int rounds, const QMailFolderId &folder)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const QMailMessageIdList known = QMailStore::instance()->queryMessages(
            QMailMessageKey::parentFolderId(folder), QMailMessageSortKey(), 1);
        const double before = cpuMs();
        if (!QMailStore::instance()->removeMessages(QMailMessageKey::id(known)))
            qFatal("the store removed nothing");
        times.push_back(cpuMs() - before + makeDurable());
    }
    return median(times);
}

/** The changes' medians of some rounds, as they stand in the arguments. */
QStringList changes(int port, const QString &user, int rounds, const QStringList &counts,
                    const Store::FolderState &folder, FloorThreads *threads)
{
    ServerInbox inbox(port, user);
    QList<Eas::MailItem> news;
    for (QList<Eas::MailItem> items = inbox.next(); !items.isEmpty(); items = inbox.next())
        news += items;
    // The ids of two mailboxes may be the same.
    const Eas::FolderId origin(QStringLiteral("news"));
    QStringList medians;
    for (const QString &count : counts) {
        std::vector<double> times;
        for (int round = 0; round < rounds; ++round)
            times.push_back(change(count.toInt(), &news, folder, origin, threads, round % 2 == 0));
        medians.append(QString::number(median(times), 'f', 1));
    }
    return medians;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_ENABLE_REGEXP_JIT", "0");
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (argc != 2 && argc < 5)
        qFatal("usage: storefloor PORT [USER ROUNDS CHANGES...]");
    const int port = arguments.at(1).toInt();
    ServerInbox inbox(port, QStringLiteral("alice"));
    const Store::FolderState folder = makeFolder(inbox.folder());
    makeIndexes();

    FloorThreads threads;
    int count = 0;
    double cpu = 0;
    for (QList<Eas::MailItem> items = inbox.next(); !items.isEmpty(); items = inbox.next()) {
        count += items.size();
        cpu += addInThreads(built(items, folder, folder.serverId), &threads);
    }
    cpu += makeDurable();
    QStringList medians;
    double removed = 0;
    if (argc > 2) {
        const int rounds = arguments.at(3).toInt();
        medians = changes(port, arguments.at(2), rounds, arguments.mid(4), folder, &threads);
        removed = removal(rounds, folder.folderId);
    }
    QTextStream(stdout) << QStringLiteral("{\"messages\": %1, \"cpu_ms\": %2, "
                                          "\"changes_ms\": [%3], \"removal_ms\": %4}\n")
                               .arg(count)
                               .arg(cpu, 0, 'f', 2)
                               .arg(medians.join(QStringLiteral(", ")))
                               .arg(removed, 0, 'f', 1);
    return 0;
}
