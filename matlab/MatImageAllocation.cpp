#include "MatImageAllocation.h"

#include <ep/ExStatus.h>
#include <ep/internal/MemoryLimit.h>

#include <limits>

namespace orn {
namespace matlab {

namespace {

bool refuse(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

}  // namespace

bool describeImage(const MatEntry& first, ep::ExImageDataType type, qint64 limit, ep::SxImageInfo& image,
                   ep::SxFileError& error)
{
    constexpr quint64 largest = std::numeric_limits<qint32>::max();
    const quint64 rows = first.dimensions.at(0);
    const quint64 columns = first.dimensions.at(1);
    if (rows == 0 || columns == 0)
        return refuse(error, ep::ExFileError::Unsupported, QStringLiteral("the image's first plane is empty"));
    if (rows > largest || columns > largest)
        return refuse(error, ep::ExFileError::TooLarge, QStringLiteral("the image has too many rows or columns"));
    image.width = static_cast<qint32>(columns);
    image.height = static_cast<qint32>(rows);
    image.stride = 0;
    image.dataType = type;
    image.bitDepth = ep::sampleFacts(type).bits;

    const auto bytes =
        ep::internal::CheckedSize(image.width) * image.height * image.channels * ep::sampleFacts(type).bytes;
    if (!bytes.fits(limit))
        error = ep::internal::pastMemoryLimit(bytes, limit);
    return bytes.fits(limit);
}

bool allocateImage(ep::CxScopedBuffer& image, ep::SxFileError& error)
{
    if (ep::failed(image.allocate()))
        return refuse(error, ep::ExFileError::TooLarge, QStringLiteral("there is not enough memory for the image"));
    return true;
}

}  // namespace matlab
}  // namespace orn
