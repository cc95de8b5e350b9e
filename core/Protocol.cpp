#include <orn/Protocol.h>

#include "MutexLock.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>

#include <new>

namespace orn {

namespace {

/** The local time as Qt::TextDate writes it for an English user; Qt itself takes the names of the user's language. */
QString stamp()
{
    return QLocale::c().toString(QDateTime::currentDateTime(), QStringLiteral("ddd MMM d HH:mm:ss yyyy"));
}

}  // namespace

Protocol::Protocol() = default;

Protocol::~Protocol() = default;

void Protocol::addMessage(const QString& message)
{
    int count = 0;
    {
        const MutexLock lock(m_mutex);
        // The message comes last, so that its own place markers are left alone.
        m_messages.append(QStringLiteral("[%1]: %2").arg(stamp()).arg(message));
        count = m_messages.size();
        m_count = count;
    }
    emit updated(count - 1);
}

QString Protocol::getLastMessage()
{
    const MutexLock lock(m_mutex);
    return m_messages.isEmpty() ? QString() : m_messages.constLast();
}

QString Protocol::getMessage(int index)
{
    const MutexLock lock(m_mutex);
    return m_messages.value(index);
}

QStringList Protocol::getProtocol()
{
    const MutexLock lock(m_mutex);
    return m_messages;
}

bool Protocol::isEmpty() const
{
    return m_count == 0;
}

void Protocol::reset()
{
    {
        const MutexLock lock(m_mutex);
        m_messages = QStringList();
        m_count = 0;
    }
    emit updated(-1);
}

bool Protocol::save(const QString& fileName)
try {
    const MutexLock lock(m_mutex);
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    // Not a text stream, in whose making Qt goes on without the memory that it did not get.
    for (const QString& line : qAsConst(m_messages))
        file.write(line.toLocal8Bit() + '\n');
    file.close();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace orn
