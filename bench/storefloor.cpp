// SPDX-License-Identifier: LGPL-2.1-or-later
// The floor of a synchronisation: parse the same messages and add them straight to a mail store,
// with the cheapest settings known; then, if more are given, do as many changes to that store, by
// turns a new message and a flag. Prints one line of JSON, times in milliseconds.
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTextStream>

#include <algorithm>

#include <sys/resource.h>

namespace {

constexpr int BatchSize = 100;
constexpr int Rounds = 3;

double cpuMs()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval &t) {
        return double(t.tv_sec) * 1e3 + double(t.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

QMailFolderId makeFolder()
{
    QMailAccount account;
    account.setName(QStringLiteral("floor"));
    account.setMessageType(QMailMessage::Email);
    account.setStatus(QMailAccount::Enabled, true);
    QMailStore::instance()->addAccount(&account, nullptr);
    QMailFolder folder(QStringLiteral("inbox"), QMailFolderId(), account.id());
    QMailStore::instance()->addFolder(&folder);
    return folder.id();
}

QMailMessage parse(const QString &path, const QMailFolder &folder)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QMailMessage message = QMailMessage::fromRfc2822(file.readAll());
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(folder.parentAccountId());
    message.setParentFolderId(folder.id());
    message.setServerUid(path);
    message.setReceivedDate(message.date());
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setStatus(QMailMessage::Incoming | QMailMessage::New | QMailMessage::ContentAvailable,
                      true);
    return message;
}

void addBatch(QList<QMailMessage> &batch)
{
    QList<QMailMessage *> pointers;
    for (QMailMessage &message : batch)
        pointers.append(&message);
    if (!QMailStore::instance()->addMessages(pointers))
        qFatal("the store took no messages");
    batch.clear();
}

/** Adds all messages below a folder; returns how many. */
int addAll(const QString &directory, const QMailFolder &folder)
{
    int count = 0;
    QList<QMailMessage> batch;
    QDirIterator files(directory, {QStringLiteral("*.eml")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        batch.append(parse(files.next(), folder));
        ++count;
        if (batch.size() == BatchSize)
            addBatch(batch);
    }
    if (!batch.isEmpty())
        addBatch(batch);
    return count;
}

/** CPU milliseconds of so many changes. */
double change(int count, QDirIterator &news, const QMailFolder &folder)
{
    const double before = cpuMs();
    QList<QMailMessage> batch;
    for (int i = 0; i < count; i += 2)
        batch.append(parse(news.next(), folder));
    addBatch(batch);
    const QMailMessageIdList known = QMailStore::instance()->queryMessages(
        QMailMessageKey::parentFolderId(folder.id()), QMailMessageSortKey(), uint(count / 2));
    if (count > 1
        && !QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(known),
                                                           QMailMessage::ReadElsewhere, true))
        qFatal("the store took no flags");
    return cpuMs() - before;
}

/** The changes' medians of some rounds, as they stand in the arguments. */
QStringList changes(const QString &directory, const QStringList &counts, const QMailFolder &folder)
{
    QDirIterator news(directory, {QStringLiteral("*.eml")}, QDir::Files,
                      QDirIterator::Subdirectories);
    QStringList medians;
    for (const QString &count : counts) {
        QVector<double> times;
        for (int round = 0; round < Rounds; ++round)
            times.append(change(count.toInt(), news, folder));
        std::sort(times.begin(), times.end());
        medians.append(QString::number(times.at(Rounds / 2), 'f', 1));
    }
    return medians;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_ENABLE_REGEXP_JIT", "0");
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (argc != 2 && argc < 4)
        qFatal("usage: storefloor MESSAGES [MORE-MESSAGES CHANGES...]");
    const QMailFolder folder(makeFolder());

    QElapsedTimer wall;
    wall.start();
    const double before = cpuMs();
    const int count = addAll(arguments.at(1), folder);
    const double cpu = cpuMs() - before;
    const qint64 elapsed = wall.elapsed();
    const QStringList medians = changes(arguments.value(2), arguments.mid(3), folder);
    QTextStream(stdout)
        << QStringLiteral(
               "{\"messages\": %1, \"cpu_ms\": %2, \"wall_ms\": %3, \"changes_ms\": [%4]}\n")
               .arg(count)
               .arg(cpu, 0, 'f', 1)
               .arg(elapsed)
               .arg(medians.join(QStringLiteral(", ")));
    return 0;
}
