#include <orn/matlab/AddImage.h>

#include "MatNames.h"
#include "MatSampleTypes.h"
#include "MatVariableWriter.h"
#include "TransposeSplit.h"

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/MosaicCell.h>
#include <ep/internal/TransposePlane.h>

#include <limits>
#include <new>

namespace orn {
namespace matlab {

namespace {

using ep::internal::CheckedSize;
using ep::internal::ConstPlaneView;
using ep::internal::MosaicCell;

// What is to be written: planes of the caller's image, seen where they lie.
struct Work {
    ep::SxImageInfo info;  // the planes as an image of their own, before they are transposed
    bool isSplit = false;  // the planes are the positions of a cell
    MosaicCell cell = {};  // the cell, when split
    bool reverseRows = false;

    ConstPlaneView plane(const ep::SxImageBuf& image, qint32 index) const
    {
        const ConstPlaneView view =
            isSplit ? cell.planeOf(ep::internal::planeView(image, 0), index) : ep::internal::planeView(image, index);
        return reverseRows ? view.reversedRows() : view;
    }
};

// Rows may be longer than their samples, never shorter: the last one would end past the storage.
bool hasWholeRows(const ep::SxImageBuf& image)
{
    return image.data && image.width > 0 && image.height > 0 && image.channels > 0
           && ep::internal::rowBytes(image).fits(image.stride);
}

bool describeSplit(const ep::SxImageBuf& image, Work& work)
{
    if (image.layout != ep::LayoutPacked)
        return false;
    work.isSplit = true;
    work.cell = MosaicCell::ofPacked(image);
    if (!work.cell.isValid() || work.cell.planes() > std::numeric_limits<qint32>::max())
        return false;
    work.info.layout = ep::LayoutPlanar;
    work.info.channels = static_cast<qint32>(work.cell.planes());
    work.info.width = image.width / work.cell.width;
    work.info.height = image.height / work.cell.height;
    return work.info.width > 0 && work.info.height > 0;
}

bool describeWork(const ep::SxImageBuf& image, bool reverseRows, bool raw, Work& work)
{
    work.info = image;
    work.reverseRows = reverseRows;
    if (image.layout == ep::LayoutPlanar)
        return true;
    const bool isPlain = image.channels == 1 && image.bayerGrid == ep::BayerGridNone;
    const bool staysAsItLies = isPlain || (raw && image.layout == ep::LayoutPacked);
    if (!staysAsItLies)
        return describeSplit(image, work);
    if (!reverseRows)
        work.info.layout = ep::LayoutPlanar;
    // Reversed rows come from a copy of the caller's image, with the layout that it has: packed it stays.
    // Samples of several packed channels are no planes, and would be sought past the end of the storage.
    return image.channels == 1 && (!reverseRows || image.layout == ep::LayoutPacked);
}

ep::SxImageInfo transposed(const ep::SxImageInfo& info)
{
    ep::SxImageInfo result = info;
    result.width = info.height;
    result.height = info.width;
    // The whole plane is known to fit 31 bits, and packed work has one channel: this is the row in both layouts.
    result.stride = ep::sampleFacts(info.dataType).bytes * result.width;
    return result;
}

bool fitsElements(const ep::SxImageInfo& info, const QString& name, bool raw)
{
    const CheckedSize plane = CheckedSize(info.width) * info.height * ep::sampleFacts(info.dataType).bytes;
    const QString longestName = writtenPlaneName(info, name, raw, info.channels - 1);
    return plane.fits(largestElement) && matVariableBytes(longestName, plane.value()) <= largestElement;
}

bool writePlanes(mat_t* mat, const ep::SxImageBuf& image, const Work& work, const ep::SxImageInfo& written,
                 const MatSampleType& type, const QString& name, bool raw)
{
    // One plane serves for all: matio takes its own copy of each.
    ep::CxScopedBuffer scratch(written);
    scratch->channels = 1;
    if (ep::failed(scratch.allocate()))
        return false;
    const qint32 sampleBytes = ep::sampleFacts(written.dataType).bytes;
    for (qint32 i = 0; i < written.channels; ++i) {
        const ConstPlaneView plane = work.plane(image, i);
        const ep::internal::PlaneView transposed = ep::internal::planeView(scratch.image(), 0);
        if (work.isSplit)
            transposeSplit(sampleBytes, plane, transposed);
        else
            ep::internal::transposePlane(sampleBytes, plane, transposed);
        if (!writeVariable(mat, writtenPlaneName(written, name, raw, i), type.matClass, type.matType, written.width,
                           written.height, scratch->data))
            return false;
    }
    return true;
}

}  // namespace

bool AddImage(void* mat, ep::SxImageBuf const& image, QString const& name, bool reverseRows,
              ep::SxImageInfo& writtenInfo, bool raw)
try {
    const MatSampleType* type = matSampleType(image.dataType);
    Work work;
    if (!mat || !type || !hasWholeRows(image) || !describeWork(image, reverseRows, raw, work)
        || !fitsElements(work.info, name, raw))
        return false;
    const ep::SxImageInfo written = transposed(work.info);
    if (!writePlanes(static_cast<mat_t*>(mat), image, work, written, *type, name, raw))
        return false;
    writtenInfo = written;
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace matlab
}  // namespace orn
