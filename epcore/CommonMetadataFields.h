/**
 * @file
 * The members of CxCommonImageMetadata by their XML tags: the one list that its saver and its loader share.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>

namespace ep {

/** A member of CxCommonImageMetadata and the tag of its element. */
template <typename T>
struct SxCommonField {
    const char* tag;
    T CxCommonImageMetadata::*member;
};

/** How the image was laid out; always written, so that a reader need not know the defaults. */
constexpr SxCommonField<qint32> commonLayoutFields[] = {
    {"bayer_grid", &CxCommonImageMetadata::bayerGrid},
    {"layout", &CxCommonImageMetadata::layout},
    {"pattern_width", &CxCommonImageMetadata::patternWidth},
    {"pattern_height", &CxCommonImageMetadata::patternHeight},
    {"color_bit_depth", &CxCommonImageMetadata::colorBitDepth},
};

// Everything below is written when it is known.

constexpr SxCommonField<qint32> commonNumberFields[] = {
    {"sensor_width", &CxCommonImageMetadata::sensorWidth}, {"sensor_height", &CxCommonImageMetadata::sensorHeight},
    {"left_margin", &CxCommonImageMetadata::leftMargin},   {"top_margin", &CxCommonImageMetadata::topMargin},
    {"orientation", &CxCommonImageMetadata::orientation},
};

constexpr SxCommonField<double> commonRealFields[] = {
    {"white_level", &CxCommonImageMetadata::whiteLevel},   {"exposure_time", &CxCommonImageMetadata::exposureTime},
    {"aperture", &CxCommonImageMetadata::aperture},        {"iso", &CxCommonImageMetadata::iso},
    {"focal_length", &CxCommonImageMetadata::focalLength},
};

constexpr SxCommonField<QVector<double>> commonListFields[] = {
    {"black_levels", &CxCommonImageMetadata::blackLevels},
    {"white_balance", &CxCommonImageMetadata::whiteBalance},
    {"color_matrix", &CxCommonImageMetadata::colorMatrix},
};

constexpr SxCommonField<QString> commonTextFields[] = {
    {"pattern_colors", &CxCommonImageMetadata::patternColors},
    {"camera_make", &CxCommonImageMetadata::cameraMake},
    {"camera_model", &CxCommonImageMetadata::cameraModel},
};

/** ISO 8601 with milliseconds; with the zone's offset unless the time is in an unknown (local) zone. */
constexpr char commonCaptureTimeTag[] = "capture_time";
/** One element per entry of CxCommonImageMetadata::attributes, its key in the attribute commonAttributeKey. */
constexpr char commonAttributeTag[] = "attribute";
constexpr char commonAttributeKey[] = "name";
/** See keepExactText(). */
constexpr char commonExactText[] = "utf16";
constexpr char commonExactKey[] = "name_utf16";

}  // namespace ep
