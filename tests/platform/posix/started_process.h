#pragma once

#include <QCoreApplication>
#include <QProcess>

#include <csignal>

/// A process that this one has started, by the name of its executable: what others may do to it.
class StartedProcess {
public:
    explicit StartedProcess(const QString &name)
    {
        QProcess children;
        children.start("pgrep", {"-P", QString::number(QCoreApplication::applicationPid()), name});
        children.waitForFinished();
        m_number = children.readAllStandardOutput().trimmed().toInt();
    }
    [[nodiscard]] bool isFound() const { return m_number > 0; }
    void kill() const { ::kill(m_number, SIGKILL); }
    void stopForTenSeconds() const
    {
        ::kill(m_number, SIGSTOP);
        QProcess::startDetached("sh", {"-c", QString("sleep 10; kill -CONT %1").arg(m_number)});
    }

private:
    int m_number = 0;
};
