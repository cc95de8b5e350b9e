#include <ep/CxCommonImageMetadata.h>

namespace ep {

CxCommonImageMetadata::CxCommonImageMetadata() = default;

IxMetadataItem* CxCommonImageMetadata::clone() const
{
    auto* copy = new CxCommonImageMetadata;
    copy->bayerGrid = bayerGrid;
    copy->layout = layout;
    copy->patternWidth = patternWidth;
    copy->patternHeight = patternHeight;
    copy->colorBitDepth = colorBitDepth;
    copy->patternColors = patternColors;
    copy->sensorWidth = sensorWidth;
    copy->sensorHeight = sensorHeight;
    copy->leftMargin = leftMargin;
    copy->topMargin = topMargin;
    copy->blackLevels = blackLevels;
    copy->whiteLevel = whiteLevel;
    copy->whiteBalance = whiteBalance;
    copy->colorMatrix = colorMatrix;
    copy->cameraMake = cameraMake;
    copy->cameraModel = cameraModel;
    copy->exposureTime = exposureTime;
    copy->aperture = aperture;
    copy->iso = iso;
    copy->focalLength = focalLength;
    copy->captureTime = captureTime;
    copy->orientation = orientation;
    copy->attributes = attributes;
    return copy;
}

}  // namespace ep
