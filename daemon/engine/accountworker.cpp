// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/accountworker.h"

#include "daemon/download/attachmentdownload.h"
#include "daemon/download/messagedownload.h"
#include "daemon/engine/statusrecorder.h"
#include "daemon/log/logging.h"
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/push/pushwatch.h"
#include "daemon/search/mailboxsearch.h"
#include "daemon/send/givenupcheck.h"
#include "daemon/send/mailsending.h"
#include "daemon/send/sentlookup.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/sync/localchangewatch.h"
#include "daemon/sync/syncrun.h"
#include "daemon/tasks/workreport.h"
#include "daemon/wipe/remotewipe.h"
#include "eas/status.h"
#include "eas/synckey.h"

#include <QTimer>

#include <algorithm>

namespace Daemon {

namespace {

bool sameServer(const Store::AccountRecord &a, const Store::AccountRecord &b)
{
    return a.server == b.server && a.email == b.email && a.port == b.port
        && a.encryption == b.encryption && a.userName == b.userName && a.password == b.password
        && a.domain == b.domain;
}

Eas::ServerAddress addressOf(const Store::AccountRecord &record)
{
    Eas::ServerAddress address;
    address.host = record.server;
    address.port = record.port;
    address.encryption = record.encryption;
    address.mailAddress = record.email;
    return address;
}

Eas::Credentials credentialsOf(const Store::AccountRecord &record)
{
    Eas::Credentials credentials;
    credentials.user = record.userName;
    credentials.password = record.password;
    credentials.domain = record.domain;
    return credentials;
}

} // namespace

AccountWorker::AccountWorker(const Store::AccountRecord &record, Store::SyncStateDb &db,
                             WorkReport &report, QObject *parent)
    : QObject(parent)
    , m_takenBack(db, record.id)
{
    m_context.record = record;
    m_context.db = &db;
    m_context.report = &report;
    m_sentAwhileAgo.setSingleShot(true);
    m_sentAwhileAgo.setInterval(Pauses::BeforeSentCopy);
    connect(&m_sentAwhileAgo, &QTimer::timeout, this, &AccountWorker::fetchSent);
    connectServer();
    connectStatus();
    connectPush();
    m_takenBack.recall();
    recoverOutbox();
}

AccountWorker::~AccountWorker()
{
    // Deleted before the session, which they use.
    m_push.reset();
    m_wipe.reset();
    qDeleteAll(jobs());
}

void AccountWorker::connectServer()
{
    const Eas::Result opened = m_context.keys().open(m_context.record);
    if (!opened.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << "has no memory:" << opened.text;
    Eas::Device device;
    device.id = m_context.db->deviceId();
    m_session = std::make_unique<Eas::Session>(addressOf(m_context.record),
                                               credentialsOf(m_context.record), device);
    m_session->setClock(Alarm::now);
    m_context.session = m_session.get();
    // The version and the URL are asked for in each run of the daemon: servers are updated.
    Eas::SessionState state;
    const Store::AccountState known = m_context.keys().state();
    if (!known.policyKey.isEmpty())
        state.policyKey = known.policyKey;
    // A key of the folder tree proves that this server has worked: another server's is not kept.
    state.hasWorked = !known.folderSyncKey.isEmpty() && known.folderSyncKey != Eas::FirstKey;
    m_session->setState(state);
    connect(m_session.get(), &Eas::Session::stateChanged, this, &AccountWorker::keepSessionState);
    // Queued: it is emitted from within a command, which wipe() ends.
    connect(m_session.get(), &Eas::Session::wipeRequested, this, &AccountWorker::wipe,
            Qt::QueuedConnection);
    m_changes = std::make_unique<LocalChangeWatch>(m_context);
    // Carries what the user did in the mail store, without a request.
    connect(m_changes.get(), &LocalChangeWatch::uploadNeeded, this,
            [this] { accept(ownRequest(RequestKind::Upload)); });
    connect(m_changes.get(), &LocalChangeWatch::looked, this,
            [this](int count) { m_status->setChanges(count); });
}

/** Connects the status to the report, which is one for all accounts. */
void AccountWorker::connectStatus()
{
    m_status = std::make_unique<StatusRecorder>(m_context);
    const auto ours = [this](void (StatusRecorder::*note)(int, const QString &)) {
        return [this, note](quint64 accountId, int code, const QString &words) {
            if (accountId == accountNumber())
                (m_status.get()->*note)(code, words);
        };
    };
    connect(m_context.report, &WorkReport::workEnded, this, ours(&StatusRecorder::noteWork));
    connect(m_context.report, &WorkReport::syncNoted, this, ours(&StatusRecorder::noteSync));
    connect(m_status.get(), &StatusRecorder::changed, m_context.report, &WorkReport::statusChanged);
    m_status->tellAgain();
}

/** Begins or ends the watch for news, as the account wants it. */
void AccountWorker::connectPush()
{
    if (m_push && !m_context.record.pushEnabled)
        qCInfo(lcDaemon) << "account" << m_context.id() << "is not watched any more";
    m_push.reset();
    m_status->setPush(nullptr);
    if (!m_context.record.pushEnabled)
        return;
    m_push = std::make_unique<PushWatch>(m_context, nullptr);
    connect(m_push.get(), &PushWatch::stateChanged, this,
            [this] { m_status->setPush(m_push.get()); });
    m_status->setPush(m_push.get());
    connect(m_push.get(), &PushWatch::foldersChanged, this, &AccountWorker::syncForPush);
    connect(m_push.get(), &PushWatch::syncNeeded, this, [this] { syncForPush({}); });
    QTimer::singleShot(0, m_push.get(), &PushWatch::resume);
}

/** Synchronises some folders, or all of the account, without a request from the bus. */
void AccountWorker::syncForPush(const QStringList &folders)
{
    Request request = ownRequest(folders.isEmpty() ? RequestKind::Sync : RequestKind::SyncFolders);
    request.folders = folders;
    accept(request);
}

Request AccountWorker::ownRequest(RequestKind kind) const
{
    Request request;
    request.kind = kind;
    request.accountId = accountNumber();
    return request;
}

/** A synchronisation is over: the watch goes on, unless another synchronisation follows. */
void AccountWorker::resumePush(const SyncRun &run, const Eas::Result &result)
{
    if (!m_push)
        return;
    if (run.hasBroughtNews())
        m_push->noteNews();
    if (!result.ok())
        m_push->postpone(result);
    else if (!isSyncLeft())
        m_push->resume();
}

/** Synchronisations were stopped before their end: what they have left is done later. */
void AccountWorker::makeUpForStopped()
{
    m_changes->forget();
    if (m_push && !isSyncLeft())
        m_push->postpone({Eas::Cancelled, QStringLiteral("the synchronisation was stopped")});
}

bool AccountWorker::isSyncLeft() const
{
    const QList<Job *> all = jobs();
    return std::any_of(all.cbegin(), all.cend(),
                       [](const Job *job) { return qobject_cast<const SyncRun *>(job); });
}

/** While a job runs, most changes are its own: one look after it finds the rest. */
void AccountWorker::storeChanged()
{
    if (jobs().isEmpty())
        m_changes->look();
    else
        m_isLookDue = true;
}

void AccountWorker::networkChanged()
{
    m_changes->networkChanged();
    if (m_push)
        m_push->networkChanged();
}

void AccountWorker::wipe()
{
    if (m_wipe)
        return;
    if (m_push)
        m_push->stop();
    m_context.report->noteEnd(m_context, Eas::wipeResult());
    cancelAll(Eas::Forbidden);
    m_wipe = std::make_unique<RemoteWipe>(m_context);
    connect(m_wipe.get(), &RemoteWipe::finished, this, [this](const Eas::Result &result) {
        m_wipe.release()->deleteLater();
        // The server repeats its directive, but is not asked for it at once.
        if (m_push && !result.ok())
            m_push->postpone(result);
    });
    m_wipe->proceed();
}

void AccountWorker::keepSessionState()
{
    // The wipe removes what is remembered of the server: nothing new is saved.
    if (m_wipe)
        return;
    Store::AccountState state = m_context.keys().state();
    const QString policyKey = m_session->state().policyKey;
    if (state.policyKey == policyKey)
        return;
    state.policyKey = policyKey;
    const Eas::Result saved = m_context.keys().save(state);
    if (!saved.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << saved.text;
}

void AccountWorker::accept(const Request &request)
{
    if (m_wipe) {
        m_context.report->endRequest(request.id, Eas::Forbidden);
        return;
    }
    // Also for who joins: what was interrupted since the running one began comes back with this.
    if (isSynchronisation(request.kind))
        recoverOutbox();
    if (m_current && m_current->join(request))
        return;
    for (Job *job : qAsConst(m_queue)) {
        if (job->join(request))
            return;
    }
    if (request.kind == RequestKind::SendMail
        && m_takenBack.isSentAgain(QMailMessageId(request.messageId))) {
        m_context.report->endRequest(request.id, Eas::NotFound);
        return;
    }
    Job *job = jobFor(request);
    job->add(request);
    enqueue(job);
}

void AccountWorker::catchUp()
{
    m_status->tellAgain();
    if (m_context.folders().all().isEmpty() || !checkSettings().ok()) {
        // Nothing can be carried, but plugins wait for a new daemon to announce itself.
        emit m_context.report->syncBegan(accountNumber());
        m_context.report->endSync(accountNumber());
        return;
    }
    accept(ownRequest(RequestKind::SyncFolders));
}

Job *AccountWorker::jobFor(const Request &request)
{
    const QMailMessageId message(request.messageId);
    switch (request.kind) {
    case RequestKind::Sync:
    case RequestKind::FolderSync:
    case RequestKind::SyncFolders:
    case RequestKind::Upload:
        return new SyncRun(m_context, this);
    case RequestKind::DownloadMessage:
        return new MessageDownload(m_context, message, this);
    case RequestKind::DownloadAttachment:
        return new AttachmentDownload(m_context, message, request.location, this);
    case RequestKind::Search:
        return new MailboxSearch(m_context, request, this);
    case RequestKind::SendMail:
        break;
    }
    auto *sending = new MailSending(m_context, message, this);
    m_takenBack.noteAsked({message, sending->statusAsked()});
    return sending;
}

QSet<QMailMessageId> AccountWorker::messagesToSend(const Job *over) const
{
    QSet<QMailMessageId> messages;
    const QList<Job *> all = jobs();
    for (Job *job : all) {
        const auto *sending = qobject_cast<MailSending *>(job);
        if (sending && sending != over)
            messages.insert(sending->messageId());
    }
    return messages;
}

void AccountWorker::recoverOutbox()
{
    Store::Outbox(*m_context.db, m_context.record).recover(messagesToSend());
}

void AccountWorker::fetchSent()
{
    const auto folder = m_context.folders().find(Eas::SentItems);
    if (!m_push && folder)
        syncForPush({QString::number(folder->folderId.toULongLong())});
}

void AccountWorker::checkGivenUp()
{
    QList<Store::Outgoing> messages;
    QHash<QString, qint64> lookedFor;
    for (const Store::Outgoing &one : Store::Outbox(*m_context.db, m_context.record).givenUp()) {
        if (m_lookedFor.value(one.clientId, -1) == one.leftAt)
            lookedFor.insert(one.clientId, one.leftAt);
        else
            messages.append(one);
    }
    m_lookedFor = lookedFor;
    if (messages.isEmpty())
        return;
    auto *check = new GivenUpCheck(m_context, messages, this);
    connect(check, &GivenUpCheck::notFound, this, [this](const Store::Outgoing &message) {
        m_lookedFor.insert(message.clientId, message.leftAt);
    });
    check->add(ownRequest(RequestKind::Sync));
    enqueue(check);
}

void AccountWorker::enqueue(Job *job)
{
    connect(job, &Job::paused, this, &AccountWorker::onPaused);
    connect(job, &Job::finished, this, &AccountWorker::onFinished);
    // Who hears of an end may ask at once what is still being sent.
    connect(job, &Job::ending, this, [this, job] { m_status->setSending(messagesToSend(job)); });
    if (const auto *run = qobject_cast<SyncRun *>(job))
        connect(run, &SyncRun::uploaded, this, [this] { m_changes->noteUpload(); });
    m_queue.append(job);
    m_status->setSending(messagesToSend());
    next();
}

void AccountWorker::next()
{
    if (m_current)
        return;
    if (m_queue.isEmpty()) {
        if (m_isLookDue)
            m_changes->look();
        m_isLookDue = false;
        return;
    }
    const auto urgent =
        std::find_if(m_queue.cbegin(), m_queue.cend(), [](Job *job) { return job->isUrgent(); });
    const int index = urgent == m_queue.cend() ? 0 : int(urgent - m_queue.cbegin());
    m_current = m_queue.takeAt(index);
    if (m_push && qobject_cast<SyncRun *>(m_current))
        m_push->makeWay();
    run(m_current);
}

void AccountWorker::run(Job *job)
{
    const Eas::Result settings = checkSettings();
    if (settings.ok()) {
        job->proceed();
        return;
    }
    const bool isSync = qobject_cast<SyncRun *>(job);
    if (isSync)
        m_context.report->noteSync(m_context, settings);
    job->answerAll(settings);
    noteSendingEnd(job);
    m_current = nullptr;
    if (m_push && isSync)
        m_push->postpone(settings);
    retire(job);
    m_status->setSending(messagesToSend());
    next();
}

Eas::Result AccountWorker::checkSettings() const
{
    Eas::Result result = addressOf(m_context.record).check();
    if (result.ok())
        result = credentialsOf(m_context.record).check();
    if (!result.ok())
        qCWarning(lcDaemon).noquote() << "account" << accountNumber() << result.text;
    return result;
}

void AccountWorker::onPaused()
{
    m_queue.prepend(m_current);
    m_current = nullptr;
    next();
}

void AccountWorker::onFinished(const Eas::Result &result)
{
    Job *ended = m_current;
    m_current = nullptr;
    noteSendingEnd(ended, result.ok());
    retire(ended);
    m_status->setSending(messagesToSend());
    if (result.code == Eas::LoginRefused) {
        // Each further attempt could lock the account at the server: all open requests get this
        // refusal.
        cancelAll(result.code);
    }
    const auto *run = qobject_cast<SyncRun *>(ended);
    if (run || result.code == Eas::LoginRefused)
        m_changes->noteEnd(run && result.ok() ? run->uploadFailure() : result);
    if (run) {
        resumePush(*run, result);
        if (result.ok())
            checkGivenUp();
    }
    if (result.ok() && qobject_cast<MailSending *>(ended))
        m_sentAwhileAgo.start();
    next();
}

void AccountWorker::drop(int requestId)
{
    stopIf([requestId](Job *job) { return job->drop(requestId); });
}

void AccountWorker::stopSync()
{
    stopIf([](Job *job) { return qobject_cast<SyncRun *>(job) != nullptr; });
}

void AccountWorker::stopIf(const std::function<bool(Job *)> &isMeant)
{
    const QList<Job *> all = jobs();
    bool isSyncStopped = false;
    for (Job *job : all) {
        if (!isMeant(job))
            continue;
        isSyncStopped = isSyncStopped || qobject_cast<SyncRun *>(job);
        stop(job);
    }
    if (isSyncStopped)
        makeUpForStopped();
    next();
}

void AccountWorker::update(const Store::AccountRecord &record)
{
    const bool same = sameServer(m_context.record, record);
    const bool samePush = m_context.record.pushEnabled == record.pushEnabled;
    // The wipe is to be reported to the server that demanded it.
    if (m_wipe)
        return;
    m_context.record = record;
    if (same && !samePush)
        connectPush();
    if (same)
        return;
    qCInfo(lcDaemon) << "account" << m_context.id() << "has new settings";
    QList<Request> requests;
    const QList<Job *> all = jobs();
    for (Job *job : all) {
        const auto *sending = qobject_cast<MailSending *>(job);
        if (sending && sending->isTakenBack())
            job->answerAll(MailSending::takenBack());
        requests += job->requests();
        stop(job);
    }
    m_push.reset();
    connectServer();
    m_status->noteNewSettings();
    connectPush();
    for (const Request &request : qAsConst(requests))
        accept(request);
}

/** A request of the daemon's own has no id. */
bool AccountWorker::isAwaited() const
{
    const auto isSomebodys = [](const Request &request) { return request.id != 0; };
    const QList<Job *> all = jobs();
    return std::any_of(all.cbegin(), all.cend(), [&isSomebodys](const Job *job) {
        const QList<Request> requests = job->requests();
        return std::any_of(requests.cbegin(), requests.cend(), isSomebodys);
    });
}

void AccountWorker::cancelAll(int code)
{
    const QList<Job *> all = jobs();
    for (Job *job : all) {
        const QList<Request> requests = job->requests();
        for (const Request &request : requests)
            m_context.report->endRequest(request.id, code);
        stop(job);
    }
}

void AccountWorker::noteSendingEnd(const Job *job, bool isSent)
{
    const auto *sending = qobject_cast<const MailSending *>(job);
    if (!sending)
        return;
    if (!isSent && sending->isTakenBack())
        m_takenBack.add({sending->messageId(), sending->statusAsked()});
    else
        m_takenBack.noteEnd(sending->messageId());
}

QList<Job *> AccountWorker::jobs() const
{
    QList<Job *> all = m_queue;
    if (m_current)
        all.prepend(m_current);
    return all;
}

void AccountWorker::stop(Job *job)
{
    m_queue.removeAll(job);
    if (m_current == job)
        m_current = nullptr;
    job->disconnect(this);
    noteSendingEnd(job);
    delete job;
    m_status->setSending(messagesToSend());
}

void AccountWorker::retire(Job *job)
{
    job->disconnect(this);
    job->deleteLater();
}

} // namespace Daemon
