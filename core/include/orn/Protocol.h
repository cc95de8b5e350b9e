/**
 * @file
 * The message log that an operation writes and a user interface reads.
 */
#pragma once

#include <orn/Export.h>

#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>

namespace orn {

/**
 * A list of lines, oldest first, each stamped with the local time at which it was added:
 * @verbatim
 *   [Wed Jul 1 09:05:00 2026]: 10 of 12 files checked.
 * @endverbatim
 * The stamp has English names wherever the program runs. There is no limit on the number of lines; a message with line
 * breaks is one of them.
 *
 * Every member is thread-safe. Signals come from the thread that made the change, after the lock was released: a
 * directly connected slot may call back into the object. A slot in another thread may find more lines than its index
 * says, or none after a reset().
 */
class ORN_EXPORT Protocol : public QObject {
    Q_OBJECT
public:
    Protocol();  ///< empty, without a parent object
    ~Protocol() override;

    /** Adds a line; @p message stands in it as it is, place markers such as "%1" included. */
    void addMessage(const QString& message);
    /** The newest line; null when there is none. */
    QString getLastMessage();
    /** Line @p index; null when there is none. */
    QString getMessage(int index);
    /** All lines, as they are now. */
    QStringList getProtocol();
    /** True when there is no line. Takes no lock, so it can be asked at any rate without slowing a writer. */
    bool isEmpty() const;
    /** Removes all lines. */
    void reset();
    /**
     * Writes the lines to the file @p fileName, each with a line end after it, in the system's 8-bit encoding; a file
     * of that name is replaced. Nothing can be added meanwhile.
     * @return false when the file cannot be opened. A failure to write what follows, as on a full disk, goes unnoticed:
     * callers that must know look at the file.
     */
    bool save(const QString& fileName);

signals:
    /** A line was added at @p msgIndex; -1: all were removed. */
    void updated(int msgIndex);

private:
    QMutex m_mutex;
    QStringList m_messages;
    std::atomic<int> m_count{0};  ///< of m_messages, which isEmpty() must not touch while somebody writes it
};

}  // namespace orn
