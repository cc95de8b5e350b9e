/**
 * @file
 * How large a file that was written here must be.
 */
#pragma once

#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * The exact size of a version 5 file, counted along with what is written into it. matio reports success on a full disk;
 * a file of another size than this is damaged.
 */
class MatFileSize {
public:
    /** What AddImage() wrote: its writtenInfo, and its own arguments. */
    void addImage(const ep::SxImageInfo& written, const QString& name, bool raw);
    /** What AddVar() wrote for a text. */
    void addText(const QString& value, const QString& name);

    qint64 bytes() const { return m_bytes; }  ///< the size so far; an empty file has a header of 128 bytes

private:
    qint64 m_bytes = 128;
};

}  // namespace matlab
}  // namespace orn
