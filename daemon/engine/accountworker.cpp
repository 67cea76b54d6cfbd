// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/accountworker.h"

#include "daemon/bus/logging.h"
#include "daemon/download/attachmentdownload.h"
#include "daemon/download/messagedownload.h"
#include "daemon/push/pushwatch.h"
#include "daemon/search/mailboxsearch.h"
#include "daemon/search/searchjob.h"
#include "daemon/send/givenupcheck.h"
#include "daemon/send/mailsending.h"
#include "daemon/send/sentlookup.h"
#include "daemon/sync/localchangewatch.h"
#include "daemon/sync/syncrun.h"
#include "daemon/tasks/alarm.h"
#include "daemon/tasks/failurewords.h"
#include "daemon/wipe/remotewipe.h"
#include "eas/status.h"

#include <QTimer>

#include <algorithm>

namespace Daemon {

namespace {

/** [MS-ASCMD] 2.2.2: the account's data shall be removed from here. */
constexpr int WipeWanted = 140;

/** A server may need a moment to put into its folder what it has sent; then several come at once.
 */
constexpr int SentDelayMs = 1000;

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
                             QObject *parent)
    : QObject(parent)
{
    m_context.record = record;
    m_context.db = &db;
    m_sentAwhileAgo.setSingleShot(true);
    m_sentAwhileAgo.setInterval(SentDelayMs);
    connect(&m_sentAwhileAgo, &QTimer::timeout, this, &AccountWorker::fetchSent);
    connectServer();
    connectPush();
    recoverOutbox();
}

AccountWorker::~AccountWorker()
{
    // Before the session that they talk through.
    m_push.reset();
    m_wipe.reset();
    qDeleteAll(jobs());
}

void AccountWorker::connectServer()
{
    const Eas::Result opened = m_context.db->openAccount(m_context.record);
    if (!opened.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << "has no memory:" << opened.text;
    Eas::Device device;
    device.id = m_context.db->deviceId();
    m_session = std::make_unique<Eas::Session>(addressOf(m_context.record),
                                               credentialsOf(m_context.record), device);
    m_session->setClock(Alarm::now);
    m_context.session = m_session.get();
    // The version and the URL are asked for anew in each run of the daemon: servers are updated.
    Eas::SessionState state;
    const Store::AccountState known = m_context.db->account(m_context.id());
    if (!known.policyKey.isEmpty())
        state.policyKey = known.policyKey;
    // Another server's key is not kept, so that this one has given it.
    state.hasWorked = !known.folderSyncKey.isEmpty() && known.folderSyncKey != QLatin1String("0");
    m_session->setState(state);
    connect(m_session.get(), &Eas::Session::stateChanged, this, &AccountWorker::keepSessionState);
    // Queued: it is told from within a command that this ends.
    connect(m_session.get(), &Eas::Session::wipeRequested, this, &AccountWorker::wipe,
            Qt::QueuedConnection);
    m_changes = std::make_unique<LocalChangeWatch>(m_context);
    connect(m_changes.get(), &LocalChangeWatch::uploadNeeded, this, &AccountWorker::uploadChanges);
}

/** Begins or ends the watch for news, as the account wants it. */
void AccountWorker::connectPush()
{
    if (m_push && !m_context.record.pushEnabled)
        qCInfo(lcDaemon) << "account" << m_context.id() << "is not watched any more";
    m_push.reset();
    if (!m_context.record.pushEnabled)
        return;
    m_push = std::make_unique<PushWatch>(m_context, nullptr);
    connect(m_push.get(), &PushWatch::foldersChanged, this, &AccountWorker::syncForPush);
    connect(m_push.get(), &PushWatch::syncNeeded, this, [this] { syncForPush({}); });
    connect(m_push.get(), &PushWatch::troubled, this, &AccountWorker::noteEnd);
    QTimer::singleShot(0, m_push.get(), &PushWatch::resume);
}

/** Synchronises some folders, or all of the account, though nobody asked for it. */
void AccountWorker::syncForPush(const QStringList &folders)
{
    Request request;
    request.kind = folders.isEmpty() ? RequestKind::Sync : RequestKind::SyncFolders;
    request.accountId = accountNumber();
    request.folders = folders;
    accept(request);
}

/** Carries what the user did in the mail store, though nobody asked for it. */
void AccountWorker::uploadChanges()
{
    Request request;
    request.kind = RequestKind::Upload;
    request.accountId = accountNumber();
    accept(request);
}

/** A synchronisation is over: what it did not bring is waited for, unless another one follows. */
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

/** Synchronisations were stopped before their end, and nobody else will do what they have left. */
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

/** Most of what changes while we work is our own writing: one look after it finds all the rest. */
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
        m_push->rest();
    noteEnd(Eas::commonStatusResult(WipeWanted));
    cancelAll(Eas::Forbidden);
    m_wipe = std::make_unique<RemoteWipe>(m_context, nullptr);
    connect(m_wipe.get(), &RemoteWipe::finished, this, [this](const Eas::Result &result) {
        m_wipe.release()->deleteLater();
        // The server repeats its wish, but is not asked for it at once.
        if (m_push && !result.ok())
            m_push->postpone(result);
    });
    m_wipe->start();
}

void AccountWorker::keepSessionState()
{
    // What is remembered of the server goes with the rest.
    if (m_wipe)
        return;
    Store::AccountState state = m_context.db->account(m_context.id());
    const QString policyKey = m_session->state().policyKey;
    if (state.policyKey == policyKey)
        return;
    state.policyKey = policyKey;
    const Eas::Result saved = m_context.db->saveAccount(m_context.id(), state);
    if (!saved.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << saved.text;
}

void AccountWorker::accept(const Request &request)
{
    if (m_wipe) {
        emit requestFinished(request.id, Eas::Forbidden);
        return;
    }
    if (m_current && m_current->join(request))
        return;
    for (Job *job : qAsConst(m_queue)) {
        if (job->join(request))
            return;
    }
    if (isSynchronisation(request.kind))
        recoverOutbox();
    enqueue(jobFor(request));
}

void AccountWorker::catchUp()
{
    if (m_context.db->folders(m_context.id()).isEmpty() || !checkSettings().ok()) {
        // Nothing can be carried, yet somebody may wait for a daemon to show itself.
        emit syncBegan(accountNumber());
        emit syncEnded(accountNumber());
        return;
    }
    Request request;
    request.kind = RequestKind::SyncFolders;
    request.accountId = accountNumber();
    accept(request);
}

Job *AccountWorker::jobFor(const Request &request)
{
    const QMailMessageId message(request.messageId);
    switch (request.kind) {
    case RequestKind::Sync:
    case RequestKind::FolderSync:
    case RequestKind::SyncFolders:
    case RequestKind::Upload: {
        auto *run = new SyncRun(m_context, this);
        run->join(request);
        return run;
    }
    case RequestKind::DownloadMessage:
        return new TaskJob(std::make_unique<MessageDownload>(m_context, message), request, this);
    case RequestKind::DownloadAttachment: {
        auto step = std::make_unique<AttachmentDownload>(m_context, message, request.location);
        AttachmentDownload *download = step.get();
        auto *job = new TaskJob(std::move(step), request, this);
        connect(job, &TaskJob::joined, download, &AttachmentDownload::greetListener);
        return job;
    }
    case RequestKind::Search:
        return new SearchJob(std::make_unique<MailboxSearch>(m_context, request), request, this);
    case RequestKind::SendMail:
        break;
    }
    auto *sending = new MailSending(m_context, message, this);
    sending->join(request);
    return sending;
}

void AccountWorker::recoverOutbox()
{
    QSet<QMailMessageId> busy;
    const QList<Job *> all = jobs();
    for (Job *job : all) {
        if (const auto *sending = qobject_cast<MailSending *>(job))
            busy.insert(sending->messageId());
    }
    Store::Outbox(*m_context.db, m_context.record).recover(busy);
}

void AccountWorker::fetchSent()
{
    const auto folder = SentLookup::folderOf(m_context);
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
    auto check = std::make_unique<GivenUpCheck>(m_context, messages);
    connect(check.get(), &GivenUpCheck::notFound, this, [this](const Store::Outgoing &message) {
        m_lookedFor.insert(message.clientId, message.leftAt);
    });
    Request request;
    request.accountId = accountNumber();
    enqueue(new TaskJob(std::move(check), request, this));
}

void AccountWorker::finishRequest(int requestId, const Eas::Result &result)
{
    noteEnd(result);
    emit requestFinished(requestId, result.code);
}

void AccountWorker::noteEnd(const Eas::Result &result)
{
    // What somebody called off says nothing about the account.
    if (result.code != Eas::Cancelled)
        emit workEnded(accountNumber(), result.code, failureWords(result, m_session->serverName()));
}

void AccountWorker::enqueue(Job *job)
{
    connect(job, &Job::requestFinished, this, &AccountWorker::finishRequest);
    connect(job, &Job::searchFinished, this,
            [this](int id, int code, const Activesync::SearchMailboxResult &result) {
                noteEnd({});
                emit searchFinished(id, code, result);
            });
    connect(job, &Job::paused, this, &AccountWorker::onPaused);
    connect(job, &Job::over, this, &AccountWorker::onOver);
    connect(job, &Job::syncBegan, this, [this, job] {
        m_announced = job;
        emit syncBegan(accountNumber());
    });
    connect(job, &Job::syncProgressed, this, [this, job](int progress) {
        if (m_announced == job)
            emit syncProgressed(accountNumber(), progress);
    });
    if (const auto *run = qobject_cast<SyncRun *>(job))
        connect(run, &SyncRun::uploaded, this, [this] { m_changes->noteUpload(); });
    m_queue.append(job);
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
    const QList<Request> requests = job->requests();
    for (const Request &request : requests)
        finishRequest(request.id, settings);
    m_current = nullptr;
    if (m_push && qobject_cast<SyncRun *>(job))
        m_push->postpone(settings);
    retire(job);
    next();
}

Eas::Result AccountWorker::checkSettings() const
{
    Eas::Result result = addressOf(m_context.record).check();
    if (result.ok())
        result = credentialsOf(m_context.record).check();
    if (!result.ok())
        qCWarning(lcDaemon).noquote() << QStringLiteral("account %1 (%2): %3")
                                             .arg(accountNumber())
                                             .arg(m_context.record.name, result.text);
    return result;
}

void AccountWorker::onPaused()
{
    m_queue.prepend(m_current);
    m_current = nullptr;
    next();
}

void AccountWorker::onOver(const Eas::Result &result)
{
    Job *ended = m_current;
    m_current = nullptr;
    retire(ended);
    if (result.code == Eas::LoginRefused) {
        // Each further attempt counts against the account at the server, so those that were asked
        // for before the refusal share it.
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
    const QList<Job *> all = jobs();
    bool isSyncStopped = false;
    for (Job *job : all) {
        if (!job->drop(requestId))
            continue;
        isSyncStopped = isSyncStopped || qobject_cast<SyncRun *>(job);
        stop(job);
    }
    if (isSyncStopped)
        makeUpForStopped();
    next();
}

void AccountWorker::stopSync()
{
    const QList<Job *> all = jobs();
    bool isSyncStopped = false;
    for (Job *job : all) {
        if (!qobject_cast<SyncRun *>(job))
            continue;
        stop(job);
        isSyncStopped = true;
    }
    if (isSyncStopped)
        makeUpForStopped();
    next();
}

void AccountWorker::update(const Store::AccountRecord &record)
{
    const bool same = sameServer(m_context.record, record);
    const bool samePush = m_context.record.pushEnabled == record.pushEnabled;
    // The server that asked for it is the one to be told.
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
        requests += job->requests();
        stop(job);
    }
    m_push.reset();
    connectServer();
    connectPush();
    for (const Request &request : qAsConst(requests))
        accept(request);
}

void AccountWorker::cancelAll(int code)
{
    const QList<Job *> all = jobs();
    for (Job *job : all) {
        const QList<Request> requests = job->requests();
        for (const Request &request : requests)
            emit requestFinished(request.id, code);
        stop(job);
    }
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
    const bool isAnnounced = m_announced == job;
    delete job;
    endSync(isAnnounced);
}

void AccountWorker::retire(Job *job)
{
    job->disconnect(this);
    job->deleteLater();
    endSync(m_announced == job);
}

void AccountWorker::endSync(bool isAnnounced)
{
    if (!isAnnounced)
        return;
    m_announced = nullptr;
    emit syncEnded(accountNumber());
}

} // namespace Daemon
