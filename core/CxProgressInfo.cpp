#include <orn/CxProgressInfo.h>

#include "MutexLock.h"

namespace orn {

namespace {

constexpr double whole = 100.0;

/** @p progress brought into 0 to 100. Not qBound(), which makes 0 of a NaN: an unknown progress stays unknown. */
double bounded(double progress)
{
    if (whole < progress)
        progress = whole;
    if (0.0 > progress)
        progress = 0.0;
    return progress;
}

}  // namespace

CxProgressInfo::CxProgressInfo() : m_mutex(QMutex::Recursive) {}

CxProgressInfo::~CxProgressInfo() = default;

void CxProgressInfo::setTotalProgress(double progress, const QString& message)
{
    {
        const MutexLock lock(m_mutex);
        m_totalProgress = bounded(progress);
        m_totalMessage = message;
    }
    emit updated();
}

void CxProgressInfo::setTotalMessage(const QString& message)
{
    {
        const MutexLock lock(m_mutex);
        m_totalMessage = message;
    }
    emit updated();
}

void CxProgressInfo::setTaskProgress(double progress, const QString& message)
{
    {
        const MutexLock lock(m_mutex);
        m_taskProgress = bounded(progress);
        m_taskMessage = message;
    }
    emit updated();
}

void CxProgressInfo::setTaskMessage(const QString& message)
{
    {
        const MutexLock lock(m_mutex);
        m_taskMessage = message;
    }
    emit updated();
}

void CxProgressInfo::setTaskRatio(double ratio)
{
    const MutexLock lock(m_mutex);
    if (ratio > 0 && ratio <= 1)
        m_taskRatio = ratio;
}

void CxProgressInfo::getInfo(double& totalProgress, QString& totalMessage, double& taskProgress, QString& taskMessage)
{
    const MutexLock lock(m_mutex);
    const bool isFinished = m_totalProgress == whole;
    totalProgress = isFinished ? whole : m_taskRatio * m_taskProgress + m_totalProgress;
    taskProgress = isFinished ? whole : m_taskProgress;
    totalMessage = m_totalMessage;
    taskMessage = m_taskMessage;
}

void CxProgressInfo::reset()
{
    {
        const MutexLock lock(m_mutex);
        m_totalProgress = 0.0;
        m_taskProgress = 0.0;
        m_totalMessage = QStringLiteral("");
        m_taskMessage = QStringLiteral("");
        m_cancelRequested = false;
    }
    emit updated();
}

bool CxProgressInfo::isCanceled()
{
    const MutexLock lock(m_mutex);
    return m_cancelRequested;
}

void CxProgressInfo::cancel()
{
    {
        const MutexLock lock(m_mutex);
        m_cancelRequested = true;
    }
    emit canceled();
}

}  // namespace orn
