/**
 * @file
 * The numbers that a preview is drawn from.
 */
#pragma once

#include <orn/PreviewImage.h>

#include <ep/ExStatus.h>

#include <vector>

namespace orn {

/** Samples of one or three channels, pixel by pixel and row by row. */
struct PreviewPlanes {
    qint32 width = 0;
    qint32 height = 0;
    qint32 channels = 0;
    std::vector<float> samples;
    bool isDisplayReady = false;   ///< 8-bit samples that are shown as they are
    bool blackSubtracted = false;  ///< zero is no light
};

/** Takes from @p image what @p options ask for, and says in @p facts how. @p image is a sound one. */
ep::ExStatus makePreviewPlanes(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common,
                               const SxPreviewOptions& options, PreviewPlanes& planes, SxPreviewFacts& facts);

}  // namespace orn
