// SPDX-License-Identifier: LGPL-2.1-or-later
// The floor of a first synchronisation: parse the same messages and add them straight to a mail
// store, with the cheapest settings known. Prints one line of JSON.
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTextStream>

#include <sys/resource.h>

namespace {

constexpr int BatchSize = 100;

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

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_ENABLE_REGEXP_JIT", "0");
    QCoreApplication app(argc, argv);
    if (argc != 2)
        qFatal("usage: storefloor FOLDER-OF-MESSAGES");
    const QMailFolder folder(makeFolder());

    QElapsedTimer wall;
    wall.start();
    const double before = cpuMs();
    int count = 0;
    QList<QMailMessage> batch;
    QDirIterator files(app.arguments().at(1), {QStringLiteral("*.eml")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        batch.append(parse(files.next(), folder));
        ++count;
        if (batch.size() == BatchSize)
            addBatch(batch);
    }
    if (!batch.isEmpty())
        addBatch(batch);
    QTextStream(stdout) << QStringLiteral("{\"messages\": %1, \"cpu_ms\": %2, \"wall_ms\": %3}\n")
                               .arg(count)
                               .arg(cpuMs() - before, 0, 'f', 1)
                               .arg(wall.elapsed());
    return 0;
}
