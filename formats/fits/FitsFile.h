/**
 * @file
 * A file that cfitsio has open.
 */
#pragma once

#include <QFile>
#include <QString>

#include <fitsio.h>

#include <memory>

namespace ep {
namespace fits {

/**
 * Owns cfitsio's handle of a file that is open already. cfitsio is given the descriptor's own path and never the name
 * of the user's file, in which it would take brackets, plus signs, a leading tilde or "://" for orders, and which it
 * cuts at 1024 bytes.
 */
class FitsFile {
public:
    /** Has cfitsio open @p file, which must outlive this; @p mode is READONLY or READWRITE. Test the result. */
    static FitsFile open(const QFile& file, int mode);

    explicit operator bool() const { return m_handle != nullptr; }
    fitsfile* handle() const { return m_handle.get(); }
    /** Ends the work of cfitsio; false when what was written did not reach the file. */
    bool close();

private:
    struct Closer {
        void operator()(fitsfile* handle) const;
    };
    std::unique_ptr<fitsfile, Closer> m_handle;
};

/** What cfitsio says of @p status, for people. */
QString problemText(int status);

}  // namespace fits
}  // namespace ep
