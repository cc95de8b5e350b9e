/**
 * @file
 * The progress that an operation reports and a user interface shows, and the way to stop it.
 */
#pragma once

#include <orn/Export.h>

#include <QMutex>
#include <QObject>
#include <QString>

namespace orn {

/**
 * Progress on two levels, each in percent and with a text: the total, and the task that is being worked on. A worker
 * of N equal tasks sets the ratio to 1 / N, advances the total by 100 / N after each task, and reports each task from
 * 0 to 100; then the total that getInfo() tells moves smoothly:
 * @verbatim
 *   ratio 0.25      |  task 1  |  task 2  |  task 3  |  task 4  |
 *   total 25, task 40          |====>                            getInfo() says 0.25 * 40 + 25 = 35
 * @endverbatim
 *
 * Every member is thread-safe. Signals come from the thread that made the change, after the lock was released: a
 * directly connected slot may call back into the object.
 */
class ORN_EXPORT CxProgressInfo : public QObject {
    Q_OBJECT
public:
    CxProgressInfo();  ///< nothing done, ratio 1, not canceled, without a parent object
    ~CxProgressInfo() override;

    /** Sets the total, which is brought into 0 to 100, and its text. A NaN stays one. */
    void setTotalProgress(double progress, const QString& message);
    /** Sets the text of the total alone. */
    void setTotalMessage(const QString& message);
    /** Sets the progress of the task, which is brought into 0 to 100, and its text. A NaN stays one. */
    void setTaskProgress(double progress, const QString& message);
    /** Sets the text of the task alone. */
    void setTaskMessage(const QString& message);
    /** Sets the share of the task in the total. Values that are not above 0 and up to 1 are ignored. No signal. */
    void setTaskRatio(double ratio);

    /**
     * What to show, all of one moment: the total with the task's share in it, and the task. The sum is not bounded: a
     * worker that does not lower the ratio gets more than 100. A total of exactly 100 shows a full task, too.
     */
    void getInfo(double& totalProgress, QString& totalMessage, double& taskProgress, QString& taskMessage);

    /** Back to the start, not canceled, with texts that are empty and not null. The ratio stays. */
    void reset();
    /** True from cancel() to reset(). */
    bool isCanceled();

public slots:
    /** Asks the worker to stop; it looks at isCanceled() between two pieces of its work. */
    void cancel();

signals:
    void updated();   ///< by each setter but setTaskRatio(), and by reset()
    void canceled();  ///< by cancel()

private:
    QMutex m_mutex;
    double m_taskRatio = 1.0;
    double m_totalProgress = 0.0;
    double m_taskProgress = 0.0;
    QString m_totalMessage;
    QString m_taskMessage;
    bool m_cancelRequested = false;
};

}  // namespace orn
