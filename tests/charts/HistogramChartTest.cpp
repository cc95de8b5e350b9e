#include "ModuleTesting.h"

#include <QDomDocument>
#include <QImage>
#include <QLocale>
#include <QPainter>
#include <QSvgRenderer>
#include <QtTest>

#include <clocale>
#include <cmath>

using charts::ExChartFormat;
using namespace testing;

namespace {

constexpr quint32 red = 0xd62728;
constexpr quint32 blue = 0x1f5fd0;

/** Two plots: red at the low levels, blue at the high ones. */
charts::SxHistogramChart twoPlots()
{
    charts::SxHistogramChart chart;
    chart.title = QStringLiteral("photo.dng: 6 x 4, uint8");
    chart.levelLabel = QStringLiteral("level, in 256 bins of 1 level");
    QVector<qint64> low(256, 0);
    QVector<qint64> high(256, 0);
    for (int i = 0; i < 64; ++i) {
        low[i] = 1000;
        high[255 - i] = 10;
    }
    chart.plots = {{QStringLiteral("R"), red, low}, {QStringLiteral("B"), blue, high}};
    return chart;
}

/** True for a tint of @p color, as bars and lines are drawn on white. */
bool isTintOf(QRgb pixel, quint32 color)
{
    const auto away = [](int channel) { return 255 - channel; };
    const double share = double(away(qRed(pixel)) + away(qGreen(pixel)) + away(qBlue(pixel)))
                         / (away(qRed(color)) + away(qGreen(color)) + away(qBlue(color)));
    const auto fits = [&](int inPixel, int inColor) { return std::fabs(away(inPixel) - share * away(inColor)) < 8; };
    return share > 0.4 && share < 1.1 && fits(qRed(pixel), qRed(color)) && fits(qGreen(pixel), qGreen(color))
           && fits(qBlue(pixel), qBlue(color));
}

/** How many pixels of a part of @p image have a tint of @p color. */
int countTint(const QImage& image, const QRect& part, quint32 color)
{
    int count = 0;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            count += isTintOf(image.pixel(x, y), color);
    return count;
}

QStringList textsOf(const QByteArray& svg)
{
    QDomDocument document;
    document.setContent(svg);
    QStringList texts;
    const QDomNodeList nodes = document.elementsByTagName(QStringLiteral("text"));
    for (int i = 0; i < nodes.size(); ++i)
        texts << nodes.at(i).toElement().text().trimmed();
    return texts;
}

}  // namespace

class HistogramChartTest : public QObject {
    Q_OBJECT
private slots:
    void everyPlotHasItsPlaceAndColor();
    void aLogarithmicScaleShowsSmallCounts();
    void everythingIsLabelled_data();
    void everythingIsLabelled();
    void theDrawingsOfBothFormatsAgree();
    void aPdfFileHasOnePageOfTheSameShape();
    void nothingToDrawGivesNothing();
    void theProcessKeepsItsLocale();
};

void HistogramChartTest::everyPlotHasItsPlaceAndColor()
{
    const auto charts = startCharts();
    QVERIFY(charts);
    const QImage image = QImage::fromData(charts->drawHistogram(twoPlots(), ExChartFormat::Png));
    QVERIFY(!image.isNull());
    const int half = image.width() / 2;
    const int middle = image.height() / 2 + 10;
    QVERIFY(countTint(image, {0, 0, half, middle}, red) > 10000);
    QCOMPARE(countTint(image, {0, middle, image.width(), image.height() - middle}, red), 0);
    QCOMPARE(countTint(image, {0, 0, half, image.height()}, blue) < 1000, true);
    QVERIFY(countTint(image, {half, middle, half, image.height() - middle}, blue) > 100);
}

void HistogramChartTest::aLogarithmicScaleShowsSmallCounts()
{
    const auto charts = startCharts();
    charts::SxHistogramChart chart = twoPlots();
    const auto blueIn = [&] {
        const QImage image = QImage::fromData(charts->drawHistogram(chart, ExChartFormat::Png));
        return countTint(image, image.rect(), blue);
    };
    const int linear = blueIn();
    chart.logarithmic = true;
    // 10 of 1000 samples are a hundredth of a linear scale and about two fifths of a logarithmic one.
    QVERIFY(blueIn() > 5 * linear);
}

void HistogramChartTest::everythingIsLabelled_data()
{
    QTest::addColumn<bool>("logarithmic");
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("linear") << false
                            << QStringList{QStringLiteral("samples per bin"), QStringLiteral("0"),
                                           QStringLiteral("100"), QStringLiteral("200"), QStringLiteral("1000")};
    QTest::newRow("logarithmic") << true
                                 << QStringList{QStringLiteral("samples per bin (log)"), QStringLiteral("1"),
                                                QStringLiteral("10"), QStringLiteral("100"), QStringLiteral("1000")};
}

void HistogramChartTest::everythingIsLabelled()
{
    QFETCH(bool, logarithmic);
    QFETCH(QStringList, labels);
    const auto charts = startCharts();
    charts::SxHistogramChart chart = twoPlots();
    chart.logarithmic = logarithmic;
    const QStringList texts = textsOf(charts->drawHistogram(chart, ExChartFormat::Svg));
    QCOMPARE(texts.count(chart.title), 1);
    QCOMPARE(texts.count(chart.levelLabel), 2);
    QCOMPARE(texts.count(QStringLiteral("R")), 1);
    QCOMPARE(texts.count(QStringLiteral("B")), 1);
    for (const QString& label : labels)
        QVERIFY2(texts.count(label) >= 2, qPrintable(label + QStringLiteral(" in ") + texts.join(QLatin1Char('|'))));
}

void HistogramChartTest::theDrawingsOfBothFormatsAgree()
{
    const auto charts = startCharts();
    const QImage png = QImage::fromData(charts->drawHistogram(twoPlots(), ExChartFormat::Png));
    QImage svg(png.size(), QImage::Format_RGB32);
    svg.fill(Qt::white);
    QSvgRenderer renderer(charts->drawHistogram(twoPlots(), ExChartFormat::Svg));
    QVERIFY(renderer.isValid());
    QCOMPARE(renderer.viewBox().size(), png.size());
    QPainter painter(&svg);
    renderer.render(&painter);
    painter.end();
    int different = 0;
    for (int y = 0; y < png.height(); ++y)
        for (int x = 0; x < png.width(); ++x)
            different += std::abs(qGreen(png.pixel(x, y)) - qGreen(svg.pixel(x, y))) > 64;
    const double share = double(different) / (png.width() * png.height());
    QVERIFY2(share < 0.02, qPrintable(QString::number(share)));
}

void HistogramChartTest::aPdfFileHasOnePageOfTheSameShape()
{
    const auto charts = startCharts();
    const QByteArray pdf = charts->drawHistogram(twoPlots(), ExChartFormat::Pdf);
    QVERIFY(pdf.startsWith("%PDF-"));
    QCOMPARE(pdf.count("/Type /Page\n"), 1);
    const QRegularExpression box(QStringLiteral("MediaBox \\[0 0 ([0-9.]+) ([0-9.]+)\\]"));
    const QRegularExpressionMatch match = box.match(QString::fromLatin1(pdf.constData(), pdf.size()));
    QVERIFY(match.hasMatch());
    const QImage png = QImage::fromData(charts->drawHistogram(twoPlots(), ExChartFormat::Png));
    const double shape = match.captured(1).toDouble() / match.captured(2).toDouble();
    QVERIFY(std::fabs(shape - double(png.width()) / png.height()) < 0.01);
}

void HistogramChartTest::nothingToDrawGivesNothing()
{
    const auto charts = startCharts();
    QVERIFY(charts->drawHistogram({}, ExChartFormat::Png).isEmpty());
    charts::SxHistogramChart many = twoPlots();
    while (many.plots.size() < 1000)
        many.plots << many.plots.first();
    QVERIFY(charts->drawHistogram(many, ExChartFormat::Png).isEmpty());
}

void HistogramChartTest::theProcessKeepsItsLocale()
{
    const QByteArray before = std::setlocale(LC_ALL, nullptr);
    qputenv("LC_ALL", "de_DE.UTF-8");
    const bool hadFolder = qEnvironmentVariableIsSet("XDG_RUNTIME_DIR");
    const auto charts = startCharts();
    QVERIFY(charts);
    QCOMPARE(QByteArray(std::setlocale(LC_ALL, nullptr)), before);
    QCOMPARE(qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"), hadFolder);
}

QTEST_APPLESS_MAIN(HistogramChartTest)
#include "HistogramChartTest.moc"
