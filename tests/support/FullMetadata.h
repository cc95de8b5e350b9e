/**
 * @file
 * Metadata with every field set, to see whether all of it survives.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>

namespace testing {

/** One CxCommonImageMetadata in which everything but the layout of the image is stated, with text in many scripts. */
inline ep::CxMetadata fullMetadata()
{
    auto* item = new ep::CxCommonImageMetadata;
    item->colorBitDepth = 14;
    item->patternColors = QStringLiteral("RGGB");
    item->sensorWidth = 6080;
    item->sensorHeight = 4044;
    item->leftMargin = 32;
    item->topMargin = 24;
    item->blackLevels = {512, 511.5, 512.25, 513};
    item->whiteLevel = 16383;
    item->whiteBalance = {2.1, 1, 1.0 / 3};
    item->colorMatrix = {0.5, 0.1, 0.2, -0.3, 1.25, 0.1, 1e-17, 0.3, 0.7};
    item->cameraMake = QStringLiteral("Größe 相機 📷");
    item->cameraModel = QStringLiteral("<Model> & \"more\" 'quoted'");
    item->exposureTime = 1.0 / 320;
    item->aperture = 2.8;
    item->iso = 400;
    item->focalLength = 35.5;
    item->captureTime = QDateTime(QDate(2021, 2, 28), QTime(23, 59, 58, 125), Qt::OffsetFromUTC, 5 * 3600 + 1800);
    item->orientation = 6;
    item->attributes.insert(QStringLiteral("Künstler"), QStringLiteral("Ω ≠ ∅\nsecond line"));
    item->attributes.insert(QStringLiteral("Lens"), QStringLiteral("35mm f/2"));
    ep::CxMetadata metadata;
    metadata.addMetadata(item);
    return metadata;
}

}  // namespace testing
