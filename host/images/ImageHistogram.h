/**
 * @file
 * How often which values occur in an image, part by part.
 */
#pragma once

#include "ImageParts.h"

#include <orn/orn_core.h>

#include <QJsonObject>

/** The histogram of a channel, or of one colour of a mosaic. */
struct PartHistogram {
    QString name;
    quint32 color;  ///< 0xRRGGBB to draw it in: that of its light where it has one
    qint64 samples;
    orn::SxChannelHistogram histogram;
};

/** The histograms of all parts, over the same bins. */
struct ImageHistogram {
    orn::SxHistogramBins bins;
    QVector<PartHistogram> parts;

    qint64 largestCount() const;  ///< the most samples that any bin of any part has
};

/** Counts the samples of @p parts of @p image in at most @p mostBins bins. False when they are no numbers. */
bool countSamples(const ep::SxImageBuf& image, const QVector<ImagePart>& parts, int mostBins,
                  ImageHistogram& histogram);

/** The first and the last level of a histogram, for axes: of integers, the last level that the last bin holds. */
QString firstLevelText(const ImageHistogram& histogram, ep::ExImageDataType type);
QString lastLevelText(const ImageHistogram& histogram, ep::ExImageDataType type);

/** "512 bins of 32 levels", of real numbers "512 bins of 0.001". */
QString binsText(const ImageHistogram& histogram, ep::ExImageDataType type);

/** What falls out of the bins: "12 not a number, 3 infinite"; empty when nothing does. */
QString strayText(const PartHistogram& part);

/** {"low": 0, "binWidth": 32, "parts": [{"name": "R", "counts": [...], ...}]}. */
QJsonObject jsonOf(const ImageHistogram& histogram);
