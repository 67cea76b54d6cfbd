// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SOURCE_ORVPROGRESSLISTENER_H
#define PLUGIN_SOURCE_ORVPROGRESSLISTENER_H

#include <QObject>
#include <QString>

class OrvService;
class QLocalServer;
class QLocalSocket;

/**
 * Hears, over a local socket, how far the daemon's download of a message part has come.
 *
 * Listens on its path from construction, serves the first connection only and passes each burst's
 * last value to the service. The stream is 32-bit signed integers in host byte order, percent;
 * negative ones carry no progress. A listener that cannot listen just waits for its download's end.
 */
class OrvProgressListener : public QObject
{
    Q_OBJECT

public:
    /** Starts to listen on `path`, which lies in a directory that is the user's own. */
    OrvProgressListener(OrvService *service, const QString &path, QObject *parent);

    QString path() const { return m_path; }

signals:
    /** The listener is done; may come more than once. */
    void finished(const QString &path);

public slots:
    void onNewConnection();
    void onReadyRead();
    /** The connection is closed, or the download is over. */
    void onDisconnected();

private:
    OrvService *m_service;
    QString m_path;
    QLocalServer *m_server = nullptr;
    QLocalSocket *m_socket = nullptr;
};

#endif
