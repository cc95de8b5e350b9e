#include <orn/matlab/CxMatlabImageLoader.h>

#include "MatFormat.h"
#include "ReadMatImage.h"

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/ConvertPlanarRawToRaw.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/CopyPlane.h>
#include <ep/internal/OutOfMemory.h>
#include <ep/internal/PlaneView.h>

#include <QDateTime>

#include <limits>
#include <new>
#include <utility>

namespace orn {
namespace matlab {

namespace {

/** The description of @p planes as a packed image; its size and channels are still those of the planes. */
ep::SxImageInfo packedDescription(const ep::SxImageInfo& planes)
{
    ep::SxImageInfo packed = ep::emptyImage();
    packed.width = planes.width;
    packed.height = planes.height;
    packed.channels = planes.channels;
    packed.bitDepth = planes.bitDepth;
    packed.dataType = planes.dataType;
    packed.layout = ep::LayoutPacked;
    return packed;
}

/**
 * Three entropy planes as a packed image. Every plane is written to the place of logical channel 0, so that the last
 * one stays there and the other two samples of a pixel are zero: hosts count on it.
 */
ep::CxScopedBuffer packThreePlanes(const ep::SxImageBuf& planes)
{
    ep::CxScopedBuffer packed(packedDescription(planes));
    if (ep::failed(packed.allocate(true)))
        return packed;
    const int position = ep::ChannelIndexLogicalToPhysical(0, packed.image());
    const ep::internal::PlaneView target = ep::internal::planeView(packed.image(), position);
    for (qint32 plane = 0; plane < planes.channels; ++plane)
        ep::internal::copyPlane(ep::sampleFacts(planes.dataType).bytes, ep::internal::planeView(planes, plane), target);
    return packed;
}

/** Four entropy planes as a BGGR mosaic of twice their width and height. */
ep::CxScopedBuffer mosaicOfFourPlanes(const ep::SxImageBuf& planes)
{
    constexpr qint32 half = std::numeric_limits<qint32>::max() / 2;
    if (planes.width > half || planes.height > half)
        return {};

    ep::SxImageInfo description = packedDescription(planes);
    description.width *= 2;
    description.height *= 2;
    description.channels = 1;
    description.bayerGrid = ep::BayerGridBGGR;
    description.patternWidth = 2;
    description.patternHeight = 2;
    ep::CxScopedBuffer mosaic(description);
    if (!ep::failed(mosaic.allocate()))
        ep::ConvertPlanarRawToRaw(planes, mosaic.image(), description.bayerGrid);
    return mosaic;
}

/** Puts an entropy image into the layout that can be shown; false when there is no memory for it. */
bool makeDisplayable(ep::CxScopedBuffer& image)
{
    if (image->layout != ep::LayoutPlanar || (image->channels != 3 && image->channels != 4))
        return true;
    ep::CxScopedBuffer shown =
        image->channels == 3 ? packThreePlanes(image.image()) : mosaicOfFourPlanes(image.image());
    if (!shown->data)
        return false;
    image = std::move(shown);
    return true;
}

}  // namespace

CxMatlabImageLoader::CxMatlabImageLoader() = default;

CxMatlabImageLoader::~CxMatlabImageLoader() = default;

bool CxMatlabImageLoader::open()
try {
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    bool isEntropy = false;
    ep::SxFileError error;
    const ReadMatOptions what{matName(options()), memoryLimit(),
                              options().value(QStringLiteral("variable")).toString()};
    const bool isRead = readMatImage(m_fileName, what, image.image(), isEntropy, &metadata, error);
    setError(error.kind, error.reason);
    if (!isRead)
        return true;
    if (isEntropy && !makeDisplayable(image)) {
        setError(ep::ExFileError::TooLarge, QStringLiteral("there is not enough memory to rearrange the planes"));
        return true;
    }
    if (!m_imageData)
        m_imageData = std::make_unique<ep::CxImageData>();
    m_imageData->setImageShallow(image.take(), 0, 0, QDateTime::currentDateTime());
    m_imageData->setMetadata(std::move(metadata));
    return true;
} catch (const std::bad_alloc&) {
    setError(ep::ExFileError::TooLarge, ep::internal::outOfMemory().reason);
    return true;
}

bool CxMatlabImageLoader::isOpen() const
{
    return m_imageData != nullptr;
}

void CxMatlabImageLoader::close()
{
    m_imageData.reset();
}

int CxMatlabImageLoader::frameCount() const
{
    return 1;
}

QString CxMatlabImageLoader::fileName() const
{
    return m_fileName;
}

void CxMatlabImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
}

QList<QPair<QString, int>> CxMatlabImageLoader::formats() const
{
    return matFormats();
}

ep::CxImageData* CxMatlabImageLoader::imageData(int)
{
    if (!m_imageData || !m_imageData->image().data)
        return nullptr;
    return qobject_cast<ep::CxImageData*>(m_imageData->clone(0));
}

double CxMatlabImageLoader::frameRate() const
{
    return 0.0;
}

bool CxMatlabImageLoader::hasRandomAccess() const
{
    return true;
}

}  // namespace matlab
}  // namespace orn
