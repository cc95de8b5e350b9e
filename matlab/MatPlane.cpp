#include "MatPlane.h"

#include <ep/internal/SampleVisitor.h>
#include <ep/internal/TransposePlane.h>

#include <algorithm>
#include <cstring>
#include <vector>

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

void clear(const PlaneTarget& target)
{
    for (qint32 y = 0; y < target.view.height; ++y)
        std::memset(target.view.row(y), 0,
                    static_cast<size_t>(target.sampleBytes) * static_cast<size_t>(target.view.width));
}

qint64 samplesOf(const PlaneTarget& target)
{
    return static_cast<qint64>(target.view.width) * target.view.height;
}

// While the samples are in the cache: another pass over the image would read it from memory.
void collectBits(const unsigned char* data, qint64 samples, quint16& bits)
{
    quint16 all = 0;
    for (qint64 i = 0; i < samples; ++i)
        all = static_cast<quint16>(all | ep::internal::loadSample<quint16>(data + i * qint64(sizeof(quint16))));
    bits = static_cast<quint16>(bits | all);
}

// The first @p samples of @p data into the columns of @p target.
void copyColumns(const unsigned char* data, qint64 samples, const PlaneTarget& target)
{
    const PlaneView& view = target.view;
    const qint32 bytes = target.sampleBytes;
    if (target.bits)
        collectBits(data, samples, *target.bits);
    const auto whole = static_cast<qint32>(samples / view.height);
    const auto rest = static_cast<qint32>(samples % view.height);
    if (whole > 0)
        ep::internal::transposePlane(bytes, columns(data, bytes, view.height, whole), view);
    if (rest > 0) {
        const PlaneView column = {view.sample(whole, 0), view.rowBytes, view.pixelStep, 1, rest};
        const unsigned char* from = data + static_cast<qint64>(whole) * view.height * bytes;
        ep::internal::transposePlane(bytes, columns(from, bytes, rest, 1), column);
    }
}

bool readPieces(MatDirectory& directory, MatEntry& entry, const PlaneTarget& target, ep::SxFileError& error)
{
    const qint64 columnBytes = static_cast<qint64>(target.view.height) * target.sampleBytes;
    const qint32 most = columnsPerPiece(columnBytes, target.view.width);
    std::vector<unsigned char> piece(static_cast<size_t>(most * columnBytes));
    PlaneTarget part = target;
    for (qint32 x = 0; x < target.view.width; x += part.view.width) {
        part.view.base = target.view.sample(x, 0);
        part.view.width = std::min(most, target.view.width - x);
        if (!readColumns(directory, entry, x, part, piece.data(), error))
            return false;
    }
    return true;
}

}  // namespace

bool fillsByPieces(const MatDirectory& directory, const MatEntry& entry, const PlaneTarget& target)
{
    return directory.hasPieces(entry) && Mat_SizeOfClass(entry.matClass) == static_cast<size_t>(target.sampleBytes)
           && entry.elements() >= samplesOf(target);
}

qint32 columnsPerPiece(qint64 columnBytes, qint32 width)
{
    // Few enough to stay in the processor's cache, many enough for whole tiles. Wider pieces meet fewer cache lines of
    // the image that belong to their neighbours as well, but shall be small beside it.
    constexpr qint64 fewest = 1 << 20, most = 2 << 20;
    const qint64 bytes = std::clamp(columnBytes * width / 20, fewest, most);
    return static_cast<qint32>(std::clamp<qint64>(bytes / columnBytes, 1, width));
}

bool readColumns(MatDirectory& directory, MatEntry& entry, qint32 column, const PlaneTarget& target,
                 unsigned char* piece, ep::SxFileError& error)
{
    const qint64 samples = samplesOf(target);
    if (!directory.readPiece(entry, static_cast<qint64>(column) * target.view.height, samples, piece, error))
        return false;
    copyColumns(piece, samples, target);
    return true;
}

void copyIntoPlane(const matvar_t& variable, const PlaneTarget& target, qint64 first)
{
    const qint64 wanted = samplesOf(target);
    const qint64 all = variable.data ? static_cast<qint64>(variable.nbytes) / target.sampleBytes : 0;
    const qint64 held = std::min(std::max<qint64>(all - first, 0), wanted);
    if (held < wanted)
        clear(target);
    if (held > 0)
        copyColumns(static_cast<const unsigned char*>(variable.data) + first * target.sampleBytes, held, target);
}

bool readIntoPlane(MatDirectory& directory, MatEntry& entry, qint64 limit, const PlaneTarget& target,
                   ep::SxFileError& error)
{
    if (fillsByPieces(directory, entry, target))
        return readPieces(directory, entry, target, error);
    const MatVarHandle variable = directory.read(entry, limit, error);
    if (variable)
        copyIntoPlane(*variable, target);
    return variable != nullptr;
}

}  // namespace matlab
}  // namespace orn
