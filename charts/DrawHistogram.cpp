#include "DrawHistogram.h"

#include "ChartFont.h"
#include "HistogramPlot.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <qwt_plot_renderer.h>

namespace charts {

namespace {

constexpr int width = 900;
constexpr int margin = 12;
constexpr int titleHeight = 30;
constexpr int plotHeight = 230;
constexpr int gap = 10;
// What a painter can address.
constexpr int longestSide = 32767;

QSize sizeOf(const SxHistogramChart& chart)
{
    return {width, 2 * margin + titleHeight + (plotHeight + gap) * chart.plots.size()};
}

void draw(const SxHistogramChart& chart, QPainter& painter)
{
    painter.fillRect(QRect(QPoint(0, 0), sizeOf(chart)), Qt::white);
    const QFont font = chartFont(16, true);
    painter.setFont(font);
    painter.setPen(Qt::black);
    const QRect title(margin, margin, width - 2 * margin, titleHeight - 6);
    painter.drawText(title, Qt::AlignCenter,
                     QFontMetrics(font).elidedText(chart.title, Qt::ElideMiddle, title.width()));
    for (int i = 0; i < chart.plots.size(); ++i) {
        QwtPlot plot;
        fillPlot(chart, i, plot);
        const QRect place(margin, margin + titleHeight + (plotHeight + gap) * i, width - 2 * margin, plotHeight);
        QwtPlotRenderer().render(&plot, &painter, place);
    }
}

/** What the plots take for the resolution of everything that is drawn on: then nothing is scaled. */
int resolution()
{
    return QwtPlot().logicalDpiX();
}

bool drawPng(const SxHistogramChart& chart, QBuffer& file)
{
    QImage image(sizeOf(chart), QImage::Format_RGB32);
    if (image.isNull())
        return false;
    constexpr double metresPerInch = 0.0254;
    image.setDotsPerMeterX(qRound(resolution() / metresPerInch));
    image.setDotsPerMeterY(image.dotsPerMeterX());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(chart, painter);
    painter.end();
    return image.save(&file, "PNG");
}

bool drawSvg(const SxHistogramChart& chart, QBuffer& file)
{
    QSvgGenerator generator;
    generator.setOutputDevice(&file);
    generator.setTitle(chart.title);
    generator.setResolution(resolution());
    generator.setSize(sizeOf(chart));
    generator.setViewBox(QRect(QPoint(0, 0), sizeOf(chart)));
    QPainter painter;
    if (!painter.begin(&generator))
        return false;
    draw(chart, painter);
    return painter.end();
}

bool drawPdf(const SxHistogramChart& chart, QBuffer& file)
{
    constexpr double pointsPerInch = 72;
    QPdfWriter writer(&file);
    writer.setTitle(chart.title);
    writer.setResolution(resolution());
    const QSizeF points = QSizeF(sizeOf(chart)) * pointsPerInch / resolution();
    writer.setPageSize(QPageSize(points, QPageSize::Point, QString(), QPageSize::ExactMatch));
    writer.setPageMargins(QMarginsF());
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    draw(chart, painter);
    return painter.end();
}

}  // namespace

QByteArray drawHistogram(const SxHistogramChart& chart, ExChartFormat format)
{
    QByteArray bytes;
    QBuffer file(&bytes);
    auto* const drawFile = format == ExChartFormat::Png ? drawPng : format == ExChartFormat::Svg ? drawSvg : drawPdf;
    const bool fits = !chart.plots.isEmpty() && sizeOf(chart).height() <= longestSide;
    const bool drawn = fits && file.open(QIODevice::WriteOnly) && drawFile(chart, file);
    return drawn ? bytes : QByteArray();
}

}  // namespace charts
