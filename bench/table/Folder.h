/**
 * @file
 * Where the files of the table lie: in memory, so that no disk is measured.
 */
#pragma once

#include "Table.h"

#include <QDir>
#include <QTemporaryDir>

namespace benching {

/** A folder on the file system in memory, for as long as the object lives. */
class Folder {
public:
    Folder() : m_folder(QDir(QStringLiteral("/dev/shm")).filePath(QStringLiteral("orn-table-XXXXXX")))
    {
        require(m_folder.isValid(), "making a folder in /dev/shm");
    }
    QString path() const { return m_folder.path(); }
    QString file(const QString& name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

}  // namespace benching
