/**
 * @file
 * A file system that is soon full.
 */
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace testing {

/**
 * A memory file system with room for little, mounted for its scope. What is mounted is seen by this process alone and
 * is gone with it. Where the system lets nobody but root do that, isMounted() is false.
 *
 * A test program that includes this file may be root in a user namespace of its own, so it cannot test permissions.
 */
class TinyDisk {
public:
    static constexpr int usualBytes = 64 * 1024;
    static constexpr int mostFiles = 32;

    /** @param bytes how much there is room for: whole pages of memory */
    explicit TinyDisk(qint64 bytes = usualBytes)
    {
        const QByteArray options = "size=" + QByteArray::number(bytes) + ",nr_inodes=" + QByteArray::number(mostFiles);
        m_isMounted =
            s_isAlone && mount("tmpfs", QFile::encodeName(m_folder.path()), "tmpfs", 0, options.constData()) == 0;
    }
    ~TinyDisk()
    {
        if (m_isMounted)
            umount2(QFile::encodeName(m_folder.path()), MNT_DETACH);
    }
    TinyDisk(const TinyDisk&) = delete;
    TinyDisk& operator=(const TinyDisk&) = delete;

    bool isMounted() const { return m_isMounted; }
    QString filePath(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

private:
    static bool mapUser(const char* file, unsigned id)
    {
        QFile map(QLatin1String("/proc/self/") + QLatin1String(file));
        const QByteArray line = QByteArray::number(id) + ' ' + QByteArray::number(id) + " 1";
        return map.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && map.write(line) == line.size();
    }
    /** Gives the process mounts of its own. A user namespace can be entered only before there is a second thread. */
    static bool leaveTheOthers()
    {
        const uid_t user = geteuid();
        const gid_t group = getegid();
        if (unshare(CLONE_NEWNS) != 0) {
            if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !mapUser("uid_map", user))
                return false;
            QFile groups(QStringLiteral("/proc/self/setgroups"));
            if (groups.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
                groups.write("deny");
            mapUser("gid_map", group);
        }
        return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    static inline const bool s_isAlone = leaveTheOthers();

    QTemporaryDir m_folder;
    bool m_isMounted = false;
};

}  // namespace testing
