/**
 * @file
 * A histogram as a file.
 */
#pragma once

#include <charts/IxCharts.h>

namespace charts {

/** See IxCharts::drawHistogram(). */
QByteArray drawHistogram(const SxHistogramChart& chart, ExChartFormat format);

}  // namespace charts
