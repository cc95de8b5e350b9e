/**
 * @file
 * A file system that is soon full.
 */
#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <sys/mount.h>

namespace testing {

/** Mounts a memory file system of @p kibibytes for its scope. Only root may; see isMounted(). */
class TinyDisk {
public:
    explicit TinyDisk(int kibibytes)
    {
        const QByteArray options = "size=" + QByteArray::number(kibibytes) + "k";
        m_isMounted = mount("tmpfs", QFile::encodeName(m_folder.path()), "tmpfs", 0, options.constData()) == 0;
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
    QTemporaryDir m_folder;
    bool m_isMounted = false;
};

}  // namespace testing
