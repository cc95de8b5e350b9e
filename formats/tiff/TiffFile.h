/**
 * @file
 * An open TIFF file.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QString>

#include <tiffio.h>

#include <memory>

namespace ep {
namespace tiff {

/**
 * Owns a libtiff handle and keeps what libtiff says about it: messages go to the object and never to the process-wide
 * handlers, so that nothing is printed and files on different threads stay apart. Movable, not copyable. One thread at
 * a time.
 */
class TiffFile {
public:
    enum class Variant {
        Classic,  ///< 32-bit offsets: up to 4 GiB
        Big       ///< 64-bit offsets
    };

    TiffFile();
    ~TiffFile();
    TiffFile(TiffFile&&) noexcept;
    TiffFile& operator=(TiffFile&&) noexcept;

    /**
     * Opens the regular file @p path and reads its header, but no directory yet: choose one with
     * TIFFSetSubDirectory(). libtiff is held to allocations of at most @p memoryLimit bytes each.
     */
    static TiffFile openForReading(const QString& path, qint64 memoryLimit);
    /** Creates or empties @p path, in the byte order of this machine. */
    static TiffFile openForWriting(const QString& path, Variant variant);

    /** True when the file is open. */
    explicit operator bool() const { return m_handle != nullptr; }
    /** The handle for libtiff's functions; stays this object's. */
    TIFF* handle() const { return m_handle.get(); }
    /** Closes the file. Everything worth checking must have been written and checked before: closing reports nothing.
     */
    void close() { m_handle.reset(); }

    /** What libtiff complained of first; empty: nothing. Known after a failed open, too. */
    QString problem() const;
    /** problem(), or @p otherwise when libtiff said nothing. */
    QString problemOr(const QString& otherwise) const;
    /** True when a decoder has met samples that it could only guess, although it goes on. */
    bool hasGuessedSamples() const;
    /** Forgets what was reported so far. */
    void forgetProblems();

    /** Sets a tag of the current directory, with the arguments that libtiff wants for it. */
    template <typename... Values>
    bool set(uint32_t tag, Values... values)
    {
        return TIFFSetField(handle(), tag, values...) == 1;
    }
    /** Reads a tag of the current directory into the variables that libtiff wants for it; false when it is not there.
     */
    template <typename... Values>
    bool get(uint32_t tag, Values*... values) const
    {
        return TIFFGetField(handle(), tag, values...) == 1;
    }

private:
    struct Report;
    struct Closer {
        void operator()(TIFF* handle) const { TIFFClose(handle); }
    };

    static TiffFile open(const QString& path, const char* mode, qint64 memoryLimit);

    // libtiff keeps the report's address, so it must not move, and must outlive the handle.
    std::unique_ptr<Report> m_report;
    std::unique_ptr<TIFF, Closer> m_handle;
};

}  // namespace tiff
}  // namespace ep
