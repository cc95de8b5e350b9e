#include "MatPlane.h"

#include <ep/internal/TransposePlane.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace orn {
namespace matlab {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::PlaneView;

// Few enough to stay in the processor's cache, many enough for whole tiles.
constexpr qint64 pieceBytes = 1 << 20;

// Columns as rows: what the file holds is the transposed plane.
ConstPlaneView columns(const unsigned char* data, qint32 sampleBytes, qint32 rows, qint32 count)
{
    return {data, static_cast<std::ptrdiff_t>(sampleBytes) * rows, sampleBytes, rows, count};
}

void clear(const PlaneView& plane, qint32 sampleBytes)
{
    for (qint32 y = 0; y < plane.height; ++y)
        std::memset(plane.row(y), 0, static_cast<size_t>(sampleBytes) * static_cast<size_t>(plane.width));
}

// The first @p samples of @p data into the columns of @p target.
void copyColumns(const unsigned char* data, qint64 samples, qint32 sampleBytes, const PlaneView& target)
{
    const auto whole = static_cast<qint32>(samples / target.height);
    const auto rest = static_cast<qint32>(samples % target.height);
    if (whole > 0)
        ep::internal::transposePlane(sampleBytes, columns(data, sampleBytes, target.height, whole), target);
    if (rest > 0) {
        const PlaneView column = {target.sample(whole, 0), target.rowBytes, target.pixelStep, 1, rest};
        const unsigned char* from = data + static_cast<qint64>(whole) * target.height * sampleBytes;
        ep::internal::transposePlane(sampleBytes, columns(from, sampleBytes, rest, 1), column);
    }
}

// Variable and plane have samples of one size, and the variable at least as many.
bool readPieces(MatDirectory& directory, MatEntry& entry, qint32 sampleBytes, const PlaneView& target,
                ep::SxFileError& error)
{
    const qint64 columnBytes = static_cast<qint64>(target.height) * sampleBytes;
    const auto most = static_cast<qint32>(std::clamp<qint64>(pieceBytes / columnBytes, 1, target.width));
    std::vector<unsigned char> piece(static_cast<size_t>(most * columnBytes));
    for (qint32 x = 0; x < target.width; x += most) {
        const qint32 count = std::min(most, target.width - x);
        if (!directory.readPiece(entry, static_cast<qint64>(x) * target.height,
                                 static_cast<qint64>(count) * target.height, piece.data(), error))
            return false;
        const PlaneView part = {target.sample(x, 0), target.rowBytes, target.pixelStep, count, target.height};
        copyColumns(piece.data(), static_cast<qint64>(count) * target.height, sampleBytes, part);
    }
    return true;
}

}  // namespace

void copyIntoPlane(const matvar_t& variable, ep::SxImageBuf& image, qint32 plane, qint64 first)
{
    const qint32 bytes = ep::sampleFacts(image.dataType).bytes;
    const PlaneView target = ep::internal::planeView(image, plane);
    const qint64 wanted = static_cast<qint64>(image.width) * image.height;
    const qint64 all = variable.data ? static_cast<qint64>(variable.nbytes) / bytes : 0;
    const qint64 held = std::min(std::max<qint64>(all - first, 0), wanted);
    if (held < wanted)
        clear(target, bytes);
    if (held > 0)
        copyColumns(static_cast<const unsigned char*>(variable.data) + first * bytes, held, bytes, target);
}

bool readIntoPlane(MatDirectory& directory, MatEntry& entry, qint64 limit, ep::SxImageBuf& image, qint32 plane,
                   ep::SxFileError& error)
{
    const qint32 bytes = ep::sampleFacts(image.dataType).bytes;
    const qint64 wanted = static_cast<qint64>(image.width) * image.height;
    const bool isOfOneSize = Mat_SizeOfClass(entry.matClass) == static_cast<size_t>(bytes);
    if (directory.hasPieces(entry) && isOfOneSize && entry.elements() >= wanted)
        return readPieces(directory, entry, bytes, ep::internal::planeView(image, plane), error);

    const MatVarHandle variable = directory.read(entry, limit, error);
    if (variable)
        copyIntoPlane(*variable, image, plane);
    return variable != nullptr;
}

}  // namespace matlab
}  // namespace orn
