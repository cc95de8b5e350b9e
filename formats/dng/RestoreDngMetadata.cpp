#include "DngPacket.h"

#include <ep/internal/CommonItem.h>

#include <algorithm>
#include <cmath>

namespace ep {
namespace dng {
namespace {

/** A tag agrees with the exact value when it is what the tag can hold of it. */
bool agrees(double tag, double exact, double absolute)
{
    return std::abs(tag - exact) <= std::max(absolute, 1e-3 * std::abs(exact));
}

bool agrees(const QVector<double>& tag, const QVector<double>& exact, double absolute)
{
    if (tag.isEmpty() || exact.isEmpty())
        return false;
    // One value stands for all.
    for (int i = 0; i < std::max(tag.size(), exact.size()); ++i)
        if (!agrees(tag[i % tag.size()], exact[i % exact.size()], absolute))
            return false;
    return tag.size() == exact.size() || tag.size() == 1 || exact.size() == 1;
}

/** Readers shorten the names of makers and cut what is too long. */
bool agrees(const QString& tag, const QString& exact)
{
    return exact.contains(tag, Qt::CaseInsensitive);
}

/** Takes a tag over that is known and does not agree. */
template <typename T, typename... Tolerance>
void correct(T& exact, const T& tag, Tolerance... tolerance)
{
    if (tag != T() && !agrees(tag, exact, tolerance...))
        exact = tag;
}

/** As correct(), for fields that every file states: what was not known when it was saved stays so. */
template <typename T, typename... Tolerance>
void correctKnown(T& exact, const T& tag, Tolerance... tolerance)
{
    if (exact != T())
        correct(exact, tag, tolerance...);
}

void correctCapture(CxCommonImageMetadata& exact, const CxCommonImageMetadata& tags)
{
    correctKnown(exact.cameraMake, tags.cameraMake);
    correctKnown(exact.cameraModel, tags.cameraModel);
    correct(exact.exposureTime, tags.exposureTime, 0.0);
    correct(exact.aperture, tags.aperture, 0.0);
    // Exif's speed ends at 65,535.
    if (tags.iso < 65535 || exact.iso < 65535)
        correct(exact.iso, tags.iso, 0.5);
    correct(exact.focalLength, tags.focalLength, 0.0);
    if (exact.orientation != 0 && tags.orientation != 0)
        exact.orientation = tags.orientation;
    const auto seconds = QStringLiteral("yyyyMMddHHmmss");
    if (tags.captureTime.isValid() && tags.captureTime.toString(seconds) != exact.captureTime.toString(seconds))
        exact.captureTime = tags.captureTime;
}

void correctLevels(CxCommonImageMetadata& exact, const CxCommonImageMetadata& tags)
{
    // Levels may stand as whole numbers.
    correctKnown(exact.blackLevels, tags.blackLevels, 1.0);
    correctKnown(exact.whiteLevel, tags.whiteLevel, 1.0);
    correctKnown(exact.whiteBalance, tags.whiteBalance, 1e-3);
    correctKnown(exact.colorMatrix, tags.colorMatrix, 1e-3);
}

/** The file's own word on how the image lies in it. */
void takeLayout(CxCommonImageMetadata& exact, const CxCommonImageMetadata& tags)
{
    exact.bayerGrid = tags.bayerGrid;
    exact.layout = tags.layout;
    exact.patternWidth = tags.patternWidth;
    exact.patternHeight = tags.patternHeight;
    exact.patternColors = tags.patternColors;
    // No margin is written, so a file with margins has been rebuilt by another program.
    if (tags.leftMargin != 0 || tags.topMargin != 0) {
        exact.sensorWidth = tags.sensorWidth;
        exact.sensorHeight = tags.sensorHeight;
        exact.leftMargin = tags.leftMargin;
        exact.topMargin = tags.topMargin;
    }
}

}  // namespace

CxMetadata restoreMetadata(const DngPacket& packet, const CxCommonImageMetadata& tags)
{
    CxMetadata metadata = packet.metadata;
    CxCommonImageMetadata* exact = internal::findCommonItem(metadata);
    if (!exact) {
        metadata.addMetadata(tags.clone());
        return metadata;
    }
    takeLayout(*exact, tags);
    correctCapture(*exact, tags);
    correctLevels(*exact, tags);
    return metadata;
}

}  // namespace dng
}  // namespace ep
