/**
 * @file
 * What libraries print past every log.
 */
#pragma once

#include <QByteArray>
#include <QTemporaryFile>

#include <unistd.h>

namespace testing {

/** Keeps what goes to the standard error stream while it lives. */
class StandardErrorCapture {
public:
    StandardErrorCapture() : m_saved(::dup(STDERR_FILENO))
    {
        if (m_file.open())
            ::dup2(m_file.handle(), STDERR_FILENO);
    }
    ~StandardErrorCapture() { restore(); }
    StandardErrorCapture(const StandardErrorCapture&) = delete;
    StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;

    /** Ends the capture and gives what was printed. */
    QByteArray text()
    {
        restore();
        m_file.seek(0);
        return m_file.readAll();
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        ::dup2(m_saved, STDERR_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }

    QTemporaryFile m_file;
    int m_saved;
};

}  // namespace testing
