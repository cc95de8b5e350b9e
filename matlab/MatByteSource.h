/**
 * @file
 * Bytes of a MAT file in their order, plain or expanded.
 */
#pragma once

#include <QByteArray>
#include <QFile>

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

/** The bytes of an open file from where it stands. */
class MatFileSource : public MatByteSource {
public:
    explicit MatFileSource(QFile& file) : m_file(file) {}
    bool read(void* target, qint64 count) override;
    bool skip(qint64 count) override;

private:
    QFile& m_file;
};

/** What a compressed element of an open file expands to. Takes no more memory for a hostile element than for others. */
class MatInflateSource : public MatByteSource {
public:
    /** @param compressedBytes size of the element, which starts where @p file stands */
    MatInflateSource(QFile& file, qint64 compressedBytes);
    ~MatInflateSource() override;
    MatInflateSource(const MatInflateSource&) = delete;
    MatInflateSource& operator=(const MatInflateSource&) = delete;

    bool read(void* target, qint64 count) override;
    bool skip(qint64 count) override;
    /** Expands what is left of the element, at most @p most bytes; false when the stream is damaged. */
    bool drain(qint64 most);

private:
    bool refill();

    QFile& m_file;
    qint64 m_left;
    QByteArray m_input;
    z_stream m_stream = {};
    bool m_isOpen;
    int m_status = Z_OK;
};

}  // namespace matlab
}  // namespace orn
