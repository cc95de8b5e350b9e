/**
 * @file
 * TIFF files put together byte by byte: sound ones, and such as no library would write.
 */
#pragma once

#include "Files.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QtEndian>

#include <tiff.h>

namespace testing {

/** A little-endian TIFF file of one strip or tile: header, directory, samples. */
class TiffBytes {
public:
    /** A grey page of @p bits bits whose only strip is @p samples. */
    TiffBytes(quint32 width, quint32 height, quint32 bits, const QByteArray& samples) : m_samples(samples)
    {
        set(TIFFTAG_IMAGEWIDTH, width);
        set(TIFFTAG_IMAGELENGTH, height);
        set(TIFFTAG_BITSPERSAMPLE, bits);
        set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        set(TIFFTAG_SAMPLESPERPIXEL, 1);
        set(TIFFTAG_ROWSPERSTRIP, height);
        set(TIFFTAG_STRIPOFFSETS, 0);
        set(TIFFTAG_STRIPBYTECOUNTS, static_cast<quint32>(samples.size()));
    }

    /** Sets a tag that holds one number. */
    TiffBytes& set(quint16 tag, quint32 value)
    {
        m_entries[tag] = value;
        return *this;
    }
    /** Makes the strip a tile. */
    TiffBytes& tile(quint32 width, quint32 height)
    {
        m_entries.remove(TIFFTAG_ROWSPERSTRIP);
        set(TIFFTAG_TILEWIDTH, width).set(TIFFTAG_TILELENGTH, height);
        set(TIFFTAG_TILEOFFSETS, 0).set(TIFFTAG_TILEBYTECOUNTS, m_entries.take(TIFFTAG_STRIPBYTECOUNTS));
        m_entries.remove(TIFFTAG_STRIPOFFSETS);
        return *this;
    }
    /** Sets the offset of the next directory; 0 ends the chain. */
    TiffBytes& next(quint32 offset)
    {
        m_next = offset;
        return *this;
    }

    /** The file. */
    QByteArray bytes() const
    {
        const auto directoryBytes = static_cast<quint32>(2 + 12 * m_entries.size() + 4);
        QByteArray file("II\x2a\0\x08\0\0\0", 8);
        append<quint16>(file, static_cast<quint16>(m_entries.size()));
        for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry) {
            const bool isOffset = entry.key() == TIFFTAG_STRIPOFFSETS || entry.key() == TIFFTAG_TILEOFFSETS;
            append<quint16>(file, entry.key());
            append<quint16>(file, TIFF_LONG);
            append<quint32>(file, 1);
            append<quint32>(file, isOffset ? 8 + directoryBytes : entry.value());
        }
        append<quint32>(file, m_next);
        return file + m_samples;
    }

    /** Writes the first @p length bytes of the file, or all of it. */
    bool write(const QString& path, int length = -1) const
    {
        return writeFile(path, bytes().left(length < 0 ? bytes().size() : length));
    }

private:
    template <typename T>
    static void append(QByteArray& bytes, T value)
    {
        char buffer[sizeof(T)];
        qToLittleEndian(value, buffer);
        bytes.append(buffer, sizeof(T));
    }

    QMap<quint16, quint32> m_entries;
    QByteArray m_samples;
    quint32 m_next = 0;
};

}  // namespace testing
