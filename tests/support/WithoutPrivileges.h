/**
 * @file
 * Tests of file permissions also where the tests run as the superuser, who is bound by none.
 */
#pragma once

#include <QFile>
#include <QString>

#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

namespace testing {

/** Makes this thread's access to files that of nobody while it lives; without effect for ordinary users. */
class WithoutPrivileges {
public:
    /** @param folder a folder that nobody may enter and list, too */
    explicit WithoutPrivileges(const QString& folder)
    {
        ::chmod(QFile::encodeName(folder).constData(), 0755);
        if (::geteuid() == 0)
            ::setfsuid(65534);
    }
    ~WithoutPrivileges() { ::setfsuid(::geteuid()); }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
};

}  // namespace testing
