/**
 * @file
 * Qt's messages, caught for the length of a scope.
 */
#pragma once

#include <QList>
#include <QMutex>
#include <QPair>
#include <QString>
#include <QStringList>

namespace testing {

/** Collects every Qt message while it lives, and puts the earlier handler back. One at a time. */
class LogCapture {
public:
    LogCapture()
    {
        s_current = this;
        m_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        s_current = nullptr;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** The critical messages so far, in order, as Qt's debug stream writes their items: `ERROR | "text"`. */
    QStringList criticals() const
    {
        QStringList texts;
        for (const auto& message : m_messages)
            if (message.first == QtCriticalMsg)
                texts << message.second;
        return texts;
    }

    /** True when any message named a source file, line or function. */
    bool namesSources() const { return m_namesSources; }

    /** The line that a critical message of the items "ERROR", "|" and @p text makes. */
    static QString errorLine(const QString& text) { return QStringLiteral("ERROR | \"%1\"").arg(text); }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        static QMutex mutex;
        QMutexLocker locker(&mutex);
        if (!s_current)
            return;
        s_current->m_messages.append({type, text});
        s_current->m_namesSources |= context.file || context.function || context.line != 0;
    }

    static inline LogCapture* s_current = nullptr;
    QtMessageHandler m_previous = nullptr;
    QList<QPair<QtMsgType, QString>> m_messages;
    bool m_namesSources = false;
};

}  // namespace testing
