/**
 * @file
 * Small files for tests.
 */
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

namespace testing {

/**
 * Writes @p bytes to the file @p path, which is a new one: a file that is emptied and written anew is flushed to disk
 * by some file systems, and thousands of those take minutes.
 */
inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile::remove(path);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/** The whole file @p path; empty when it cannot be read. */
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace testing
