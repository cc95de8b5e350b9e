/**
 * @file
 * What tells two images apart.
 */
#pragma once

#include "ImageParts.h"

#include <orn/orn_core.h>

#include <QStringList>

/** What tells one channel, or one colour of a mosaic, of two images apart. */
struct PartComparison {
    QString name;  ///< "1", "2", ... for channels; R, G1, B, G2 for colours
    orn::SxChannelComparison result;
};

/** What was found out about two images. */
struct ImageComparison {
    QStringList recordDifferences;     ///< what the descriptions do not agree in
    QVector<PartComparison> channels;  ///< empty when the sizes differ
    QVector<PartComparison> colors;    ///< of a mosaic, what its one channel consists of; else empty
    double peak = 0;                   ///< of the signal, for the signal-to-noise ratio

    bool samplesAgree() const;
    bool agrees() const { return recordDifferences.isEmpty() && samplesAgree(); }
    double decibels(const orn::SxChannelComparison& part) const { return orn::peakSignalToNoise(part.rmsError, peak); }
};

/** True when the images have the same size and number of channels. */
bool sameShape(const ep::SxImageInfo& a, const ep::SxImageInfo& b);

/**
 * Compares @p b with the reference @p a; samples up to @p tolerance apart agree. A mosaic's colours are those of @p a.
 * @param common       metadata of @p a; may be null
 * @param samplesOnly  descriptions of images of the same shape may be different
 * @return false when the samples are no numbers
 */
bool compareImages(const ep::SxImageBuf& a, const ep::CxCommonImageMetadata* common, const ep::SxImageBuf& b,
                   double tolerance, bool samplesOnly, ImageComparison& comparison);
