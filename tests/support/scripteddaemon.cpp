// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/scripteddaemon.h"

#include "asclient/asdbusinterface.h"
#include "tests/support/busbarrier.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QSet>
#include <QTest>
#include <QThread>
#include <QUuid>
#include <QXmlStreamReader>

using namespace Activesync;

namespace {

const QString Service = QLatin1String(ServiceName);
const QString Path = QLatin1String(ObjectPath);
const QString Interface = QLatin1String(InterfaceName);

QString interfaceText()
{
    QFile file(QStringLiteral(INTERFACE_FILE));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", INTERFACE_FILE);
    return QString::fromUtf8(file.readAll());
}

/** Method names of the interface with the signatures of their arguments. */
QHash<QString, QString> methodSignatures()
{
    QHash<QString, QString> signatures;
    QString method;
    QXmlStreamReader xml(interfaceText());
    while (!xml.atEnd()) {
        xml.readNext();
        const QXmlStreamAttributes attributes = xml.attributes();
        if (xml.isStartElement() && xml.name() == QLatin1String("method")) {
            method = attributes.value(QLatin1String("name")).toString();
            signatures[method] = QString();
        } else if (xml.isEndElement() && xml.name() == QLatin1String("method")) {
            method.clear();
        } else if (xml.isStartElement() && xml.name() == QLatin1String("arg") && !method.isEmpty()
                   && attributes.value(QLatin1String("direction")) == QLatin1String("in")) {
            signatures[method] += attributes.value(QLatin1String("type"));
        }
    }
    return signatures;
}

QVariantList demarshalled(const QString &method, QVariantList arguments)
{
    if (method == QLatin1String("searchMailbox") && arguments.size() == 3) {
        arguments[1] = QVariant::fromValue(qdbus_cast<SearchQuery>(arguments.at(1)));
        arguments[2] = QVariant::fromValue(qdbus_cast<SearchMailboxOptions>(arguments.at(2)));
    }
    return arguments;
}

} // namespace

ScriptedDaemon::Answer ScriptedDaemon::Answer::id(int number)
{
    Answer answer;
    answer.m_kind = Number;
    answer.m_number = number;
    return answer;
}

ScriptedDaemon::Answer ScriptedDaemon::Answer::error(const char *name)
{
    Answer answer;
    answer.m_kind = Error;
    answer.m_error = QLatin1String(name);
    return answer;
}

ScriptedDaemon::Answer ScriptedDaemon::Answer::silence()
{
    Answer answer;
    answer.m_kind = Silence;
    return answer;
}

ScriptedDaemon::Answer &ScriptedDaemon::Answer::completing(int code)
{
    m_code = code;
    return *this;
}

ScriptedDaemon::Answer &ScriptedDaemon::Answer::found(int status, const SearchMailboxResult &result)
{
    m_searchStatus = status;
    m_result = result;
    return *this;
}

/** The object on the bus. Calls arrive in its own thread; the mutex guards all of its data. */
class ScriptedDaemon::Service : public QDBusVirtualObject
{
public:
    Service();
    ~Service() override;

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    bool connectToBus();
    void disconnectFromBus();
    void broadcast(const QString &signal, const QVariantList &arguments);
    void complete(int requestId, int code);
    void releaseAnswers();

private:
    friend class ScriptedDaemon;

    Answer takeAnswer(const QString &method);
    void answerWork(Call &call, const QDBusMessage &message);
    void answerRest(const Call &call, const QDBusMessage &message);
    void reply(const QDBusMessage &message, const QVariantList &values);

    mutable QMutex m_mutex {QMutex::Recursive};
    std::optional<QDBusConnection> m_connection;
    QList<Call> m_calls;
    QHash<QString, int> m_given;
    Answer m_answer;
    QHash<QString, Answer> m_answers;
    QHash<QString, QList<Answer>> m_answersOnce;
    std::optional<int> m_alive;
    bool m_ignoreAlive = false;
    bool m_completeAborted = false;
    int m_nextId = 1;
    const QHash<QString, QString> m_signatures = methodSignatures();
    QString m_connectionName;
    QHash<int, qulonglong> m_running;
    QList<QDBusMessage> m_held;
    QThread m_thread;
};

ScriptedDaemon::Service::Service()
{
    qDBusRegisterMetaType<SearchQuery>();
    qDBusRegisterMetaType<SearchMailboxOptions>();
    qDBusRegisterMetaType<SearchMailboxResult>();
    moveToThread(&m_thread);
    m_thread.start();
}

ScriptedDaemon::Service::~Service()
{
    disconnectFromBus();
    m_thread.quit();
    m_thread.wait();
}

bool ScriptedDaemon::Service::connectToBus()
{
    QMutexLocker lock(&m_mutex);
    if (m_connection)
        return true;
    m_connectionName = QUuid::createUuid().toString();
    m_connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_connectionName);
    return m_connection->registerVirtualObject(Path, this)
        && m_connection->registerService(::Service);
}

void ScriptedDaemon::Service::disconnectFromBus()
{
    QString uniqueName;
    {
        QMutexLocker lock(&m_mutex);
        if (!m_connection)
            return;
        uniqueName = m_connection->baseService();
        // Closing must not find an object that may be gone by then.
        m_connection->unregisterObject(Path);
        m_connection.reset();
        m_held.clear();
        m_running.clear();
        QDBusConnection::disconnectFromBus(m_connectionName);
    }
    // Qt closes the connection in a thread of its own.
    const QDeadlineTimer deadline(5000);
    while (QDBusConnection::sessionBus().interface()->isServiceRegistered(uniqueName)
           && !deadline.hasExpired())
        QThread::yieldCurrentThread();
}

QString ScriptedDaemon::Service::introspect(const QString &) const
{
    const QString text = interfaceText();
    const int begin = text.indexOf(QLatin1String("<interface"));
    return text.mid(begin, text.indexOf(QLatin1String("</node>")) - begin);
}

bool ScriptedDaemon::Service::handleMessage(const QDBusMessage &message, const QDBusConnection &)
{
    if (message.interface() != Interface && !message.interface().isEmpty())
        return false;
    QMutexLocker lock(&m_mutex);
    if (!m_connection)
        return true;
    if (m_signatures.value(message.member(), QStringLiteral("none")) != message.signature()) {
        m_connection->send(message.createErrorReply(QDBusError::UnknownMethod,
                                                    message.member() + message.signature()));
        return true;
    }
    Call call;
    call.method = message.member();
    call.arguments = demarshalled(message.member(), message.arguments());
    call.signature = message.signature();
    call.wantsReply = message.isReplyRequired();
    static const QSet<QString> rest {QStringLiteral("abortRequest"), QStringLiteral("stopSync"),
                                     QStringLiteral("isRequestAlive")};
    if (rest.contains(call.method))
        answerRest(call, message);
    else
        answerWork(call, message);
    m_calls.append(call);
    return true;
}

ScriptedDaemon::Answer ScriptedDaemon::Service::takeAnswer(const QString &method)
{
    QList<Answer> &once = m_answersOnce[method];
    return once.isEmpty() ? m_answers.value(method, m_answer) : once.takeFirst();
}

void ScriptedDaemon::Service::answerWork(Call &call, const QDBusMessage &message)
{
    const Answer answer = takeAnswer(call.method);
    if (answer.m_kind == Answer::Error) {
        m_connection->send(message.createErrorReply(answer.m_error, QStringLiteral("scripted")));
        return;
    }
    call.requestId = answer.m_kind == Answer::Number ? answer.m_number : m_nextId++;
    if (call.requestId > 0)
        m_running.insert(call.requestId, call.accountId());
    if (answer.m_kind == Answer::Silence)
        m_held.append(message.createReply(call.requestId));
    else
        reply(message, {call.requestId});
    if (answer.m_result)
        broadcast(QStringLiteral("searchMailboxCompleted"),
                  {answer.m_searchStatus, call.accountId(), QVariant::fromValue(*answer.m_result),
                   call.requestId});
    if (answer.m_code)
        complete(call.requestId, *answer.m_code);
}

void ScriptedDaemon::Service::answerRest(const Call &call, const QDBusMessage &message)
{
    const int requestId = call.arguments.value(0).toInt();
    if (call.method == QLatin1String("isRequestAlive")) {
        if (m_ignoreAlive)
            m_held.append(message.createReply(0));
        else
            reply(message, {m_alive.value_or(m_running.contains(requestId) ? 1 : 0)});
        return;
    }
    reply(message, {});
    if (call.method == QLatin1String("abortRequest") && m_completeAborted
        && m_running.contains(requestId))
        complete(requestId, call.arguments.value(1).toInt());
}

void ScriptedDaemon::Service::reply(const QDBusMessage &message, const QVariantList &values)
{
    if (message.isReplyRequired())
        m_connection->send(message.createReply(values));
}

void ScriptedDaemon::Service::broadcast(const QString &signal, const QVariantList &arguments)
{
    QMutexLocker lock(&m_mutex);
    if (!m_connection)
        return;
    QDBusMessage message = QDBusMessage::createSignal(Path, Interface, signal);
    message.setArguments(arguments);
    m_connection->send(message);
}

void ScriptedDaemon::Service::complete(int requestId, int code)
{
    QMutexLocker lock(&m_mutex);
    broadcast(QStringLiteral("requestCompleted"), {code, m_running.take(requestId), requestId});
}

void ScriptedDaemon::Service::releaseAnswers()
{
    QMutexLocker lock(&m_mutex);
    for (const QDBusMessage &message : qAsConst(m_held))
        m_connection->send(message);
    m_held.clear();
}

ScriptedDaemon::ScriptedDaemon()
    : m_service(std::make_unique<Service>())
{
    if (!appear())
        qFatal("the scripted daemon cannot own %s", ServiceName);
    // Qt keeps what comes until the first event loop runs, the name's change of owner, too; until
    // it has taken that in it drops the new owner's broadcasts.
    settle();
}

ScriptedDaemon::~ScriptedDaemon() = default;

bool ScriptedDaemon::appear()
{
    return m_service->connectToBus();
}

void ScriptedDaemon::vanish()
{
    m_service->disconnectFromBus();
}

bool ScriptedDaemon::isPresent() const
{
    QMutexLocker lock(&m_service->m_mutex);
    return m_service->m_connection.has_value();
}

void ScriptedDaemon::answer(const Answer &answer)
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_answer = answer;
    m_service->m_answers.clear();
}

void ScriptedDaemon::answer(const char *method, const Answer &answer)
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_answers.insert(QLatin1String(method), answer);
}

void ScriptedDaemon::answerOnce(const char *method, const Answer &answer)
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_answersOnce[QLatin1String(method)].append(answer);
}

void ScriptedDaemon::releaseAnswers()
{
    m_service->releaseAnswers();
}

void ScriptedDaemon::answerAlive(int alive)
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_alive = alive;
    m_service->m_ignoreAlive = false;
}

void ScriptedDaemon::answerAliveTruly()
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_alive.reset();
    m_service->m_ignoreAlive = false;
}

void ScriptedDaemon::ignoreAlive()
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_ignoreAlive = true;
}

void ScriptedDaemon::completeAborted(bool on)
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_completeAborted = on;
}

void ScriptedDaemon::setNextId(int id)
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_nextId = id;
}

void ScriptedDaemon::complete(int requestId, int code)
{
    m_service->complete(requestId, code);
}

void ScriptedDaemon::end(int requestId, int code)
{
    complete(requestId, code);
    settle();
}

void ScriptedDaemon::requestCompleted(int code, qulonglong accountId, int requestId)
{
    m_service->broadcast(QStringLiteral("requestCompleted"), {code, accountId, requestId});
}

void ScriptedDaemon::searchMailboxCompleted(int status, qulonglong accountId,
                                            const SearchMailboxResult &result, int requestId)
{
    m_service->broadcast(QStringLiteral("searchMailboxCompleted"),
                         {status, accountId, QVariant::fromValue(result), requestId});
}

void ScriptedDaemon::syncStarted(qulonglong accountId)
{
    m_service->broadcast(QStringLiteral("syncStarted"), {accountId});
}

void ScriptedDaemon::syncCompleted(qulonglong accountId)
{
    m_service->broadcast(QStringLiteral("syncCompleted"), {accountId});
}

ScriptedDaemon::Call ScriptedDaemon::waitForCall(const char *method, int timeoutMs)
{
    Call call;
    const auto arrived = [&] {
        QMutexLocker lock(&m_service->m_mutex);
        int &given = m_service->m_given[QLatin1String(method)];
        const QList<Call> all = calls(method);
        if (given >= all.size())
            return false;
        call = all.at(given++);
        return true;
    };
    if (!QTest::qWaitFor(arrived, timeoutMs))
        qWarning("no call of %s within %d ms", method, timeoutMs);
    return call;
}

QList<ScriptedDaemon::Call> ScriptedDaemon::calls() const
{
    QMutexLocker lock(&m_service->m_mutex);
    return m_service->m_calls;
}

QList<ScriptedDaemon::Call> ScriptedDaemon::calls(const char *method) const
{
    QList<Call> some;
    const QList<Call> all = calls();
    std::copy_if(all.begin(), all.end(), std::back_inserter(some),
                 [&](const Call &call) { return call.method == QLatin1String(method); });
    return some;
}

int ScriptedDaemon::callCount(const char *method) const
{
    return calls(method).size();
}

void ScriptedDaemon::forgetCalls()
{
    QMutexLocker lock(&m_service->m_mutex);
    m_service->m_calls.clear();
    m_service->m_given.clear();
}

void ScriptedDaemon::settle()
{
    std::optional<QDBusConnection> connection;
    {
        QMutexLocker lock(&m_service->m_mutex);
        connection = m_service->m_connection;
    }
    if (connection && !waitForDelivery(*connection))
        qWarning("the daemon's messages were not delivered");
}
