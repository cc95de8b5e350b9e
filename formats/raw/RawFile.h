/**
 * @file
 * A decoded camera RAW file.
 */
#pragma once

#include "RawTags.h"

#include <ep/SxFileError.h>

#include <QByteArray>
#include <QRect>
#include <QString>

#include <libraw/libraw.h>

#include <memory>

namespace ep {
namespace raw {

/**
 * Owns a LibRaw decoder and one file that it decoded. Prints nothing; what LibRaw complains of becomes the reason of a
 * failure. A file of which LibRaw could only guess samples is not opened. One thread at a time.
 */
class RawFile {
public:
    RawFile();
    ~RawFile();

    /**
     * Reads the regular file @p path, whose mosaic may take at most @p memoryLimit bytes. False, with the reason in
     * @p error, unless the samples of a mosaic are there whole.
     */
    bool open(const QString& path, qint64 memoryLimit, SxFileError& error);

    /** All that LibRaw knows of the file. */
    const libraw_data_t& data() const { return m_decoder->imgdata; }
    /** What the tags say. */
    const RawTags& tags() const { return m_tags; }
    /** The file's XMP; empty when there is none. */
    QByteArray xmp() const;
    /** The part of the sensor that belongs to the picture, in samples of the stored sensor area. */
    QRect visibleArea() const;
    /** The colour at a place of the visible area, as an index into LibRaw's colour names. */
    int color(int row, int column) const;

private:
    bool identify(const QString& path, qint64 memoryLimit, SxFileError& error);
    bool checkKind(SxFileError& error) const;
    bool checkSize(qint64 fileBytes, qint64 memoryLimit, SxFileError& error) const;
    bool decode(SxFileError& error);

    std::unique_ptr<LibRaw> m_decoder;
    RawTags m_tags;
};

}  // namespace raw
}  // namespace ep
