/**
 * @file
 * The report of a run, for programs.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QFile>
#include <QJsonObject>
#include <QString>

/** A file of JSON lines, each of which is in the file as soon as it is written. */
class RunLog {
public:
    /**
     * @param goOn true keeps the lines of an earlier run, up to its last whole one
     * @return false, with @p error set, when the file cannot be written
     */
    bool open(const QString& path, bool goOn, ep::SxFileError& error);
    bool isOpen() const { return m_file.isOpen(); }
    /** Adds a line; false when it did not arrive. */
    bool write(const QJsonObject& line);
    QString name() const { return m_file.fileName(); }
    QString reason() const { return m_file.errorString(); }  ///< why a line did not arrive

private:
    QFile m_file;
};
