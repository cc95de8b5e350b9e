/**
 * @file
 * Files that may not grow past a size.
 */
#pragma once

#include <QtGlobal>

#include <csignal>

#include <sys/resource.h>

namespace testing {

/** While it lives, this process can write no file past a size, and is told so by write() alone. */
class FileSizeLimit {
public:
    explicit FileSizeLimit(qint64 bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

}  // namespace testing
