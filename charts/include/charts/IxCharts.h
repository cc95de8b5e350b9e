/**
 * @file
 * Pictures with text: charts and contact sheets.
 *
 * They are drawn by a module of its own, loaded when one is asked for, because its libraries (Qt's widgets and what
 * they are built on) would multiply the start-up of a program that only reads images.
 */
#pragma once

#include <ep/CxScopedBuffer.h>

#include <QByteArray>
#include <QString>
#include <QVector>
#include <QtPlugin>

#include <memory>

namespace charts {

/** One plot of a histogram. */
struct SxPlot {
    QString name;            ///< for the legend
    quint32 color;           ///< 0xRRGGBB
    QVector<qint64> counts;  ///< as many in every plot of a chart
};

/** A histogram: plots one below the other, with common scales. */
struct SxHistogramChart {
    QString title;
    QString levelLabel;        ///< of the axis of the levels
    double low = 0;            ///< where the first bin begins
    double binWidth = 1;       ///< of every bin
    bool logarithmic = false;  ///< the axis of the counts
    QVector<SxPlot> plots;
};

/** How a chart is stored. */
enum class ExChartFormat { Png, Svg, Pdf };

/** Pictures side by side and row by row, each with a caption beneath. */
class IxContactSheet {
public:
    virtual ~IxContactSheet() = default;
    /** Adds an 8-bit packed image of one or three channels. Only a small copy of it is kept. May throw std::bad_alloc.
     */
    virtual void addPicture(const ep::SxImageBuf& picture, const QString& caption) = 0;
    /** Adds an empty frame that says @p reason. */
    virtual void addPlaceholder(const QString& reason, const QString& caption) = 0;
    /** Draws the sheet as an 8-bit image of three channels. False when it would be too large or there is no memory. */
    virtual bool draw(ep::CxScopedBuffer& sheet) = 0;
};

/** Draws, in the main thread. */
class IxCharts {
public:
    virtual ~IxCharts() = default;
    /** The bytes of a file that holds @p chart; empty when it would be too large. */
    virtual QByteArray drawHistogram(const SxHistogramChart& chart, ExChartFormat format) = 0;
    virtual std::unique_ptr<IxContactSheet> newContactSheet() = 0;
};

/** The module itself. */
class IxChartsModule {
public:
    virtual ~IxChartsModule() = default;
    /** Gets ready to draw, without a display. Locale settings of the process stay as they are. */
    virtual std::unique_ptr<IxCharts> start() = 0;
};

}  // namespace charts

// Two builds fit together when they name the same version.
#define ChartsModule_iid "orn.charts/1"
Q_DECLARE_INTERFACE(charts::IxChartsModule, ChartsModule_iid)
