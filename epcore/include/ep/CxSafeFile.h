/**
 * @file
 * Writing a file so that the old one stays whole until the new one is proved.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxFileError.h>

#include <QString>

namespace ep {

/**
 * A temporary file beside a target, renamed over it by commit(). Whatever writes the file gets temporaryName(), which
 * ends in the target's own suffix. Destroyed without a commit, the temporary file is removed and the target is
 * untouched. A target that is a symbolic link is written through; an existing target's permissions are kept. One thread
 * at a time.
 */
class EP_EXPORT CxSafeFile {
public:
    explicit CxSafeFile(const QString& target);
    ~CxSafeFile();
    CxSafeFile(const CxSafeFile&) = delete;
    CxSafeFile& operator=(const CxSafeFile&) = delete;

    /** Makes the empty temporary file; false, with @p error set, when the folder is missing or cannot be written. */
    bool create(SxFileError& error);
    /** Path of the temporary file; empty before create(). */
    QString temporaryName() const { return m_temporary; }
    /**
     * Flushes the temporary file to disk and renames it over the target.
     * @param refuseReplace true fails when the target exists, also when it came to be meanwhile
     */
    bool commit(bool refuseReplace, SxFileError& error);

    /**
     * Removes the temporary files of all objects of the process; from then on create() and commit() fail. For a program
     * that is about to end in the middle of its work. Thread-safe.
     */
    static void abandonAll();

private:
    QString m_target;
    QString m_temporary;
};

}  // namespace ep
