/**
 * @file
 * Other programs that take turns with this one.
 */
#pragma once

#include "Table.h"

#include <QProcess>

#include <memory>

namespace benching {

/**
 * A script that does its work once for each empty line it gets, and answers with the seconds that it took. It is
 * started with its first turn and keeps running: how long an interpreter takes to start is not measured.
 */
class Peer {
public:
    explicit Peer(const QStringList& command) : m_command(command) {}
    ~Peer()
    {
        if (!m_process)
            return;
        m_process->closeWriteChannel();
        m_process->waitForFinished();
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    double seconds()
    {
        if (!m_process)
            start();
        m_process->write("\n");
        while (!m_process->canReadLine())
            require(m_process->waitForReadyRead(patience), "a peer");
        return m_process->readLine().trimmed().toDouble();
    }

private:
    static constexpr int patience = 300000;  // milliseconds

    void start()
    {
        m_process = std::make_unique<QProcess>();
        m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process->start(m_command.first(), m_command.mid(1));
        require(m_process->waitForStarted(), "starting a peer");
    }

    QStringList m_command;
    std::unique_ptr<QProcess> m_process;
};

}  // namespace benching
