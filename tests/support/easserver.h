// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_EASSERVER_H
#define TESTS_SUPPORT_EASSERVER_H

#include "tests/support/patience.h"

#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocalSocket>
#include <QStringList>
#include <QUrl>

/**
 * The ActiveSync server of tests/easserver, in a process of its own, on a folder of mail.
 *
 * Its users are "alice" and "bob" (password "secret") and whoever has a directory in the folder.
 * What a test can make it do is listed in tests/easserver/control.py and faults.py. The calls below
 * block for the few milliseconds that the server needs; one that the server refuses ends the test
 * program. The destructor ends the server.
 *
 * Every request is held against the protocol (tests/easserver/README.md). One that does not pass
 * fails the test in which the server ends, unless the test took it with takeViolations().
 */
class EasServer
{
public:
    /** Serves MAILDIR/USER/FOLDER/FILE. An empty path: a new folder without any mail. */
    explicit EasServer(const QString &mailDirectory = QString());
    ~EasServer();
    EasServer(const EasServer &) = delete;
    EasServer &operator=(const EasServer &) = delete;

    /** Whether this machine has what it needs (Python 3.11 or newer). */
    static bool isAvailable();
    /** Skips the whole test program where it has not; for initTestCase(). */
    static void require();

    /** More arguments for its command line; before start(). */
    void addArguments(const QStringList &arguments) { m_arguments += arguments; }
    /** Starts it and waits until it answers. Once stopped, it starts again on the same port. */
    bool start(int timeoutMs = 20000);
    /** Ends it in order; false when it did not end in time. Fails the running test where a client
     * did what the protocol does not allow. */
    bool stop(int timeoutMs = 10000);
    /** Ends it with SIGKILL: it forgets all that was delivered, and all sync keys. */
    void kill();

    /** Scheme, address and port, without a path. */
    QUrl url() const { return m_url; }
    quint16 port() const { return quint16(m_url.port()); }

    /** Any request of the control endpoint, by the name of its function. */
    QJsonObject control(const char *name, const QJsonObject &request = QJsonObject());

    /** Puts a message into a folder ("Inbox", "Work/Old"); returns its id there. `more`:
     * "received", "flags". */
    QString deliver(const QString &user, const QString &folder, const QByteArray &message,
                    const QJsonObject &more = QJsonObject());
    /** A short plain message with that subject. */
    QString deliverText(const QString &user, const QString &subject,
                        const QString &folder = QStringLiteral("Inbox"));
    /** Puts every file of a directory that matches the pattern into a folder; returns the ids by
     * file name. `received` in seconds since 1970; 0: when their Date says. */
    QHash<QString, QString> load(const QString &user, const QString &folder,
                                 const QString &directory,
                                 const QString &pattern = QStringLiteral("[!.]*"),
                                 qint64 received = 0);
    /** Asks for a fault: "kind", "command", "count" and more. */
    void fault(const QJsonObject &description) { control("fault", description); }
    /** One of that kind for that command, with what else describes it. */
    using Details = std::initializer_list<std::pair<const char *, QJsonValue>>;
    void fault(const char *kind, const char *command, Details details = {})
    {
        fault(faultOf(kind, command, details));
    }
    static QJsonObject faultOf(const char *kind, const char *command, Details details = {});
    void clearFaults() { control("fault-clear"); }
    /** Ends the delays that last just now. */
    void endDelays() { control("delay-end"); }

    /** The requests since the start, or since clearLog(), as objects: "command", "status",
     * "request" (XML), "collections", and more. */
    QJsonArray log();
    /** Those of one command ("OPTIONS" for that method). */
    QList<QJsonObject> requests(const char *command);
    int requestCount(const char *command) { return requests(command).size(); }
    void clearLog() { control("log-clear"); }

    /** What clients did that the protocol does not allow, for the test that wants just that. */
    QStringList takeViolations();

    /** The messages of a folder as the server has them: "id", "subject", "read", "flag", "verb"...
     */
    QList<QJsonObject> messages(const QString &user, const QString &folder);
    /** What the server calls the folder; empty when it has none of that path. */
    QString folderId(const QString &user, const QString &folder);

    /** The folder of our own sample messages (*.eml). */
    static QString samples();
    /** That of Python's own e-mail tests (msg_*.txt); empty where they are not installed. */
    static QString pythonSamples();
    /** Writes `count` messages into MAILDIR/alice/Inbox, 4 KiB each, every tenth with an attachment
     * of that many bytes more. */
    static bool makeMail(const QString &mailDirectory, int count, qint64 attachmentSize = 102400);

    /**
     * Writes CERT and KEY for --tls into a directory and returns their paths. `names` as openssl
     * writes them ("DNS:localhost,IP:127.0.0.1"); `days` of validity, negative: over already. Empty
     * when openssl fails.
     */
    static QStringList
    makeCertificate(const QString &directory,
                    const QString &names = QStringLiteral("DNS:localhost,IP:127.0.0.1"),
                    int days = 2);

private:
    bool waitForLine(QByteArray *line, int timeoutMs);
    void failUponViolations();
    static bool runScript(const char *name, const QStringList &arguments);

    QString m_mailDirectory;
    /** What clients did wrong and nobody has taken is in this file, also after a kill. */
    QString m_violations;
    QStringList m_arguments;
    QLocalSocket m_connection; ///< its standard input and output; closes when it has ended
    qint64 m_process = 0;
    QUrl m_url;
    QUrl m_controlUrl;
};

#endif
