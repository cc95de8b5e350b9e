#include "MatPlane.h"

#include <ep/internal/TransposePlane.h>

#include <algorithm>
#include <cstring>

namespace orn {
namespace matlab {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::PlaneView;

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

}  // namespace

void copyIntoPlane(const matvar_t& variable, ep::SxImageBuf& image, qint32 plane)
{
    const qint32 bytes = ep::sampleFacts(image.dataType).bytes;
    const PlaneView target = ep::internal::planeView(image, plane);
    const auto* data = static_cast<const unsigned char*>(variable.data);
    const qint64 wanted = static_cast<qint64>(image.width) * image.height;
    const qint64 held = data ? std::min<qint64>(static_cast<qint64>(variable.nbytes) / bytes, wanted) : 0;
    if (held < wanted)
        clear(target, bytes);

    const auto whole = static_cast<qint32>(held / image.height);
    const auto rest = static_cast<qint32>(held % image.height);
    if (whole > 0)
        ep::internal::transposePlane(bytes, columns(data, bytes, image.height, whole), target);
    if (rest > 0) {
        const PlaneView column = {target.sample(whole, 0), target.rowBytes, target.pixelStep, 1, rest};
        const unsigned char* from = data + static_cast<qint64>(whole) * image.height * bytes;
        ep::internal::transposePlane(bytes, columns(from, bytes, rest, 1), column);
    }
}

}  // namespace matlab
}  // namespace orn
