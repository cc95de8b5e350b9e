#include "HistogramPlot.h"

#include "ChartFont.h"

#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_histogram.h>
#include <qwt_plot_layout.h>
#include <qwt_plot_legenditem.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_widget.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>

namespace charts {

namespace {

constexpr int labelPixels = 12;
constexpr int titlePixels = 13;

// Where bars of a logarithmic scale begin: a bin of one sample must still show.
constexpr double logarithmicFoot = 0.5;

/** Numbers in full wherever they are whole. */
class NumberScale : public QwtScaleDraw {
public:
    QwtText label(double value) const override
    {
        const bool isWhole = value == std::floor(value) && std::fabs(value) < 1e9;
        return QwtText(isWhole ? QString::number(value, 'f', 0) : QString::number(value, 'g', 6));
    }
};

qint64 largestCount(const SxHistogramChart& chart)
{
    qint64 largest = 1;
    for (const SxPlot& plot : chart.plots)
        largest = std::max(largest, *std::max_element(plot.counts.begin(), plot.counts.end()));
    return largest;
}

void setAxis(QwtPlot& plot, QwtPlot::Axis axis, const QString& title)
{
    QwtText text(title);
    text.setFont(chartFont(titlePixels));
    text.setRenderFlags(Qt::AlignCenter);
    plot.setAxisTitle(axis, text);
    plot.setAxisScaleDraw(axis, new NumberScale);
    plot.setAxisFont(axis, chartFont(labelPixels));
}

void setScales(const SxHistogramChart& chart, QwtPlot& plot)
{
    const int bins = chart.plots.front().counts.size();
    plot.setAxisScale(QwtPlot::xBottom, chart.low, chart.low + chart.binWidth * bins);
    const auto largest = static_cast<double>(largestCount(chart));
    if (chart.logarithmic) {
        plot.setAxisScaleEngine(QwtPlot::yLeft, new QwtLogScaleEngine);
        plot.setAxisScale(QwtPlot::yLeft, logarithmicFoot, largest * 2);
    } else {
        plot.setAxisScale(QwtPlot::yLeft, 0, largest * 1.05);
    }
}

QVector<QwtIntervalSample> barsOf(const SxHistogramChart& chart, const SxPlot& plot)
{
    const double foot = chart.logarithmic ? logarithmicFoot : 0;
    QVector<QwtIntervalSample> bars;
    // Where a bar does not end exactly where the next one begins, the outline would be broken.
    const auto edge = [&](int bin) { return chart.low + chart.binWidth * bin; };
    for (int bin = 0; bin < plot.counts.size(); ++bin)
        bars << QwtIntervalSample(std::max(foot, static_cast<double>(plot.counts[bin])), edge(bin), edge(bin + 1));
    return bars;
}

void addHistogram(const SxHistogramChart& chart, const SxPlot& data, QwtPlot& plot)
{
    const QColor color(static_cast<QRgb>(data.color));
    QwtText name(data.name);
    name.setFont(chartFont(titlePixels, true));
    auto* histogram = new QwtPlotHistogram(name);
    histogram->setStyle(QwtPlotHistogram::Outline);
    histogram->setPen(color, 1);
    QColor light = color;
    light.setAlpha(150);
    histogram->setBrush(light);
    histogram->setBaseline(chart.logarithmic ? logarithmicFoot : 0);
    histogram->setSamples(barsOf(chart, data));
    histogram->setLegendIconSize({14, 14});
    histogram->attach(&plot);
}

void addGridAndLegend(QwtPlot& plot)
{
    auto* grid = new QwtPlotGrid;
    grid->setPen(QColor(225, 225, 225), 1);
    grid->attach(&plot);
    auto* legend = new QwtPlotLegendItem;
    legend->setAlignment(Qt::AlignRight | Qt::AlignTop);
    legend->setBackgroundBrush(QColor(255, 255, 255, 220));
    legend->setBorderPen(QColor(180, 180, 180));
    legend->setBorderRadius(3);
    legend->setFont(chartFont(titlePixels, true));
    legend->attach(&plot);
}

}  // namespace

void fillPlot(const SxHistogramChart& chart, int index, QwtPlot& plot)
{
    plot.setPalette(
        QPalette(Qt::black, Qt::white, Qt::white, Qt::darkGray, Qt::gray, Qt::black, Qt::black, Qt::white, Qt::white));
    plot.setCanvasBackground(Qt::white);
    setAxis(plot, QwtPlot::xBottom, chart.levelLabel);
    setAxis(plot, QwtPlot::yLeft,
            chart.logarithmic ? QStringLiteral("samples per bin (log)") : QStringLiteral("samples per bin"));
    setScales(chart, plot);
    addGridAndLegend(plot);
    addHistogram(chart, chart.plots[index], plot);
    plot.plotLayout()->setAlignCanvasToScales(true);
    plot.replot();
}

}  // namespace charts
