/**
 * @file
 * One plot of a histogram.
 */
#pragma once

#include <charts/IxCharts.h>

#include <qwt_plot.h>

namespace charts {

/** Makes @p plot show plot @p index of @p chart, with axes, grid and legend. */
void fillPlot(const SxHistogramChart& chart, int index, QwtPlot& plot);

}  // namespace charts
