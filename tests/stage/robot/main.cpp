// SPDX-License-Identifier: LGPL-2.1-or-later
// usage: mail-robot ACCOUNT - obeys commands from standard input, a JSON object a line each.
#include "tests/stage/robot/mailrobot.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <qmailmessageserver.h>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

void tell(const QJsonObject &object)
{
    std::printf("%s\n", QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

/** Hands whole lines to the robot; the application ends with its input. */
class Orders : public QObject
{
public:
    explicit Orders(Robot::MailRobot *robot)
        : m_robot(robot)
        , m_notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, &Orders::read);
    }

private:
    void read()
    {
        char buffer[65536];
        const ssize_t size = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (size <= 0) {
            QCoreApplication::quit();
            return;
        }
        m_pending.append(buffer, int(size));
        // A command runs the event loop, in which the end of the input must not be met.
        m_notifier.setEnabled(false);
        for (int end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
            const QByteArray line = m_pending.left(end);
            m_pending.remove(0, end + 1);
            tell(m_robot->obey(QJsonDocument::fromJson(line).object()));
        }
        m_notifier.setEnabled(true);
    }

    Robot::MailRobot *m_robot;
    QSocketNotifier m_notifier;
    QByteArray m_pending;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: mail-robot ACCOUNT\n");
        return 2;
    }
    QMailMessageServer::registerTypes();
    Robot::MailRobot robot(QString::fromLocal8Bit(argv[1]), &tell);
    const Orders orders(&robot);
    return app.exec();
}
