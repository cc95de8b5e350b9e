/**
 * @file
 * Bytes of a MAT file in their order, plain or expanded.
 */
#pragma once

#include <QFile>

#include <array>

#include <zlib.h>

namespace orn {
namespace matlab {

/** Gives bytes one after another. Not thread-safe. */
class MatByteSource {
public:
    virtual ~MatByteSource() = default;
    /** Copies the next @p count bytes to @p target; false when there are fewer, or damaged ones. */
    virtual bool read(void* target, qint64 count) = 0;
    /** Passes over the next @p count bytes. */
    virtual bool skip(qint64 count) = 0;
};

/**
 * The bytes of a file from any place on. Reads a few kilobytes at a time, and none of what is passed over: the headers
 * of large variables lie far apart.
 */
class MatFileSource : public MatByteSource {
public:
    /** @param file is open for reading, without a buffer of its own. */
    explicit MatFileSource(QFile& file) : m_file(file), m_fileBytes(file.size()) {}

    qint64 fileBytes() const { return m_fileBytes; }  ///< size of the whole file
    void seek(qint64 position) { m_position = position; }
    bool read(void* target, qint64 count) override;
    bool skip(qint64 count) override;

private:
    bool holds(qint64 count) const;
    bool hold(qint64 count);

    QFile& m_file;
    const qint64 m_fileBytes;
    qint64 m_position = 0;
    qint64 m_heldFrom = 0;  // place in the file of what m_held holds
    qint64 m_heldBytes = 0;
    std::array<char, 4096> m_held;
};

/** What a compressed element expands to. Takes no more memory for a hostile element than for others. */
class MatInflateSource : public MatByteSource {
public:
    /** @param compressedBytes size of the element, which starts where @p stored stands */
    MatInflateSource(MatByteSource& stored, qint64 compressedBytes);
    ~MatInflateSource() override;
    MatInflateSource(const MatInflateSource&) = delete;
    MatInflateSource& operator=(const MatInflateSource&) = delete;

    bool read(void* target, qint64 count) override;
    bool skip(qint64 count) override;
    /** Expands what is left of the element, at most @p most bytes; false when the stream is damaged. */
    bool drain(qint64 most);

private:
    bool refill();

    MatByteSource& m_stored;
    qint64 m_left;
    std::array<char, 1 << 14> m_input;
    z_stream m_stream = {};
    bool m_isOpen;
    int m_status = Z_OK;
};

}  // namespace matlab
}  // namespace orn
