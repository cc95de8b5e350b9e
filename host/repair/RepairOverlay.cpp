#include "RepairOverlay.h"

#include "MetadataReport.h"

#include <algorithm>

namespace {

bool fail(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

/** How large each pixel of a picture is drawn, so that those of a small one can be told apart. */
int enlargementOf(const ep::SxImageInfo& picture)
{
    constexpr int wanted = 512;
    return std::max(1, wanted / std::max(picture.width, picture.height));
}

/** The pixels of the preview that show the samples of @p repaired; the last ones stand for what was cut off. */
QVector<QPoint> pixelsOf(const QVector<orn::SxRepairedSample>& repaired, const ep::SxImageInfo& preview,
                         const orn::SxPreviewFacts& facts)
{
    QVector<QPoint> pixels;
    for (const orn::SxRepairedSample& sample : repaired)
        pixels << QPoint(std::min(sample.x / facts.reductionX, preview.width - 1),
                         std::min(sample.y / facts.reductionY, preview.height - 1));
    return pixels;
}

}  // namespace

bool drawRepairOverlay(const Picture& picture, const QVector<orn::SxRepairedSample>& repaired,
                       ep::CxScopedBuffer& overlay, ep::SxFileError& error)
{
    const ep::CxCommonImageMetadata* common = commonMetadata(picture.metadata);
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    const unsigned int status = orn::PreviewImage(picture.image, common, {}, preview, facts);
    if (ep::failed(status) && status != ep::StatusOutOfMemory)
        return fail(error, ep::ExFileError::Refused, QStringLiteral("the image cannot be drawn"));
    const int enlargement = ep::failed(status) ? 1 : enlargementOf(preview.image());
    ep::CxScopedBuffer enlarged;
    const int orientation = common && common->orientation >= 1 && common->orientation <= 8 ? common->orientation : 1;
    if (ep::failed(status) || ep::failed(orn::EnlargeImage(preview.image(), enlargement, enlarged))
        || ep::failed(
            orn::MarkPixels(enlarged.image(), pixelsOf(repaired, preview.image(), facts), enlargement, overlay))
        || ep::failed(orn::OrientImage(overlay, orientation)))
        return fail(error, ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the picture"));
    return true;
}
