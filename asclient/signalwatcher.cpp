// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/signalwatcher.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace Activesync {

namespace {

int ends[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 0;
    // Where the pipe is full, the reader is about to wake up anyway.
    [[maybe_unused]] const ssize_t written = write(ends[1], &byte, 1);
}

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("no pipe for signals");
    m_notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalWatcher::onReadable);
    setHandler(onSignal);
}

SignalWatcher::~SignalWatcher()
{
    setHandler(SIG_IGN);
    close(ends[0]);
    close(ends[1]);
}

void SignalWatcher::onReadable()
{
    char bytes[16];
    while (read(ends[0], bytes, sizeof bytes) > 0) { }
    emit endWanted();
}

} // namespace Activesync
