/**
 * @file
 * Which files of a folder a program opens.
 */
#pragma once

#include <QFile>
#include <QStringList>

#include <cstring>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace testing {

/** Sees every opening of a file in a folder from its construction on. */
class FolderWatch {
public:
    explicit FolderWatch(const QString& folder) : m_events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        m_isWatching = m_events >= 0 && inotify_add_watch(m_events, QFile::encodeName(folder), IN_OPEN) >= 0;
    }
    ~FolderWatch()
    {
        if (m_events >= 0)
            ::close(m_events);
    }
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    bool isWatching() const { return m_isWatching; }
    /** The files that were opened so far, each once, in the order of their first opening. */
    QStringList opened()
    {
        alignas(inotify_event) char bytes[65536];
        ssize_t count = 0;
        while ((count = ::read(m_events, bytes, sizeof bytes)) > 0) {
            for (ssize_t i = 0; i < count;) {
                inotify_event event;
                std::memcpy(&event, bytes + i, sizeof event);
                const QString name = QFile::decodeName(bytes + i + sizeof event);
                if (event.len > 0 && !m_opened.contains(name))
                    m_opened << name;
                i += static_cast<ssize_t>(sizeof event + event.len);
            }
        }
        return m_opened;
    }
    /** Waits until so many files were opened; false after a minute. */
    bool waitFor(int files)
    {
        constexpr int steps = 6000;
        constexpr int milliseconds = 10;
        for (int i = 0; i < steps && opened().size() < files; ++i) {
            pollfd events{m_events, POLLIN, 0};
            ::poll(&events, 1, milliseconds);
        }
        return m_opened.size() >= files;
    }

private:
    int m_events;
    bool m_isWatching = false;
    QStringList m_opened;
};

}  // namespace testing
