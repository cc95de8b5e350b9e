/**
 * @file
 * Histograms drawn with characters.
 */
#pragma once

#include <ep/epcore.h>

#include <QVector>

class Output;
struct ImagePart;

/**
 * Writes a histogram of each of @p parts of @p image as data, as wide as the terminal allows:
 * @verbatim
 *   histogram          64 bins of 4 levels, linear
 *     R    ▃▆█▇▄▂
 *        ▂▇██████▅▃▂▁                             ▁
 *     G1 ...
 *        0                                      255
 * @endverbatim
 * A bin that holds any sample at all shows. False, with nothing written, when the samples are no numbers.
 */
bool writeHistogram(const ep::SxImageBuf& image, const QVector<ImagePart>& parts, bool logarithmic, Output& output);
