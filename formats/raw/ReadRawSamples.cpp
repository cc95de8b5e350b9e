#include "ReadRawSamples.h"

#include "RawFile.h"

#include <ep/DetectColorBitDepth.h>
#include <ep/internal/PlaneView.h>

#include <algorithm>
#include <cstring>

namespace ep {
namespace raw {
namespace {

constexpr int containerBits = 16;

int bitWidth(unsigned value)
{
    int bits = 0;
    for (; value > 0; value >>= 1)
        ++bits;
    return bits;
}

/**
 * Significant bits. What the file says of its samples may be the size of their container, and with lossy codes the size
 * of the code; the white level lies in the upper half of the true range.
 */
int trueDepth(const libraw_colordata_t& color, const SxImageBuf& image)
{
    const int stored = static_cast<int>(color.raw_bps);
    int depth = bitWidth(color.maximum);
    if (stored < containerBits)
        depth = std::max(depth, stored);
    // A sample past the declared levels is a sample all the same.
    qint32 used = 1;
    DetectColorBitDepth(image, used);
    return std::clamp(std::max(depth, used), 1, containerBits);
}

}  // namespace

bool readRawSamples(const RawFile& file, const RawCell& cell, CxScopedBuffer& image, SxFileError& error)
{
    const QRect visible = file.visibleArea();
    SxImageInfo info = emptyImage();
    info.width = visible.width();
    info.height = visible.height();
    info.channels = 1;
    info.bitDepth = containerBits;
    info.dataType = DataTypeUInt16;
    info.bayerGrid = cell.grid;
    info.patternWidth = cell.width;
    info.patternHeight = cell.height;
    image = CxScopedBuffer(info);
    if (failed(image.allocate())) {
        error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
        return false;
    }
    const libraw_rawdata_t& stored = file.data().rawdata;
    const auto* corner = reinterpret_cast<const unsigned char*>(stored.raw_image)
                         + std::ptrdiff_t(visible.top()) * file.data().sizes.raw_pitch
                         + std::ptrdiff_t(visible.left()) * std::ptrdiff_t(sizeof(ushort));
    const internal::PlaneView view = internal::planeView(image.image(), 0);
    for (int y = 0; y < visible.height(); ++y)
        std::memcpy(view.row(y), corner + std::ptrdiff_t(y) * file.data().sizes.raw_pitch,
                    static_cast<size_t>(visible.width()) * sizeof(ushort));
    image->bitDepth = trueDepth(file.data().color, image.image());
    return true;
}

}  // namespace raw
}  // namespace ep
