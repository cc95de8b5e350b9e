#include "TerminalHistogram.h"

#include "Facts.h"
#include "ImageHistogram.h"
#include "Output.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace {

constexpr int linesPerPart = 4;
constexpr int eighths = 8;  // of a character, filled from its foot
constexpr int narrowest = 16;

/** A character of which @p filled eighths are filled from the foot. */
QChar block(int filled)
{
    constexpr ushort lowerEighth = 0x2581;
    return filled > 0 ? QChar(static_cast<ushort>(lowerEighth + std::min(filled, eighths) - 1)) : QLatin1Char(' ');
}

/** How many eighths of a character each bin is high. */
QVector<int> heightsOf(const QVector<qint64>& counts, qint64 largest, bool logarithmic)
{
    const auto scaled = [&](qint64 count) {
        const auto value = static_cast<double>(count);
        return logarithmic ? std::log1p(value) : value;
    };
    QVector<int> heights;
    for (qint64 count : counts) {
        const double share = largest > 0 ? scaled(count) / scaled(largest) : 0;
        const int height = static_cast<int>(std::lround(share * linesPerPart * eighths));
        heights << (count > 0 ? std::max(1, height) : 0);
    }
    return heights;
}

/** Line @p line, from the top, of a part: every bin @p repeat characters wide. */
QString bars(const QVector<int>& heights, int line, int repeat)
{
    const int below = (linesPerPart - 1 - line) * eighths;
    QString text;
    for (int height : heights)
        text += QString(repeat, block(height - below));
    return text;
}

/** The escape sequence's code for the colour of a part. */
const char* terminalColor(quint32 color)
{
    const int red = static_cast<int>(color >> 16 & 255);
    const int green = static_cast<int>(color >> 8 & 255);
    const int blue = static_cast<int>(color & 255);
    if (red > green + 64 && red > blue + 64)
        return "31";
    if (green > red && green > blue + 64)
        return "32";
    return blue > red + 64 && blue > green + 64 ? "34" : "0";
}

QString nameColumn(const QString& name, int width)
{
    return QStringLiteral("    ") + name.leftJustified(width) + QLatin1Char(' ');
}

QString trimmedEnd(QString text)
{
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}

void writePart(const PartHistogram& part, const QVector<int>& heights, int repeat, int nameWidth, Output& output)
{
    for (int line = 0; line < linesPerPart; ++line) {
        const bool isFoot = line == linesPerPart - 1;
        const QString name = nameColumn(isFoot ? part.name : QString(), nameWidth);
        const QString drawn = trimmedEnd(bars(heights, line, repeat));
        output.data((drawn.isEmpty() ? trimmedEnd(name) : name + output.painted(drawn, terminalColor(part.color)))
                    + QLatin1Char('\n'));
    }
    if (!strayText(part).isEmpty())
        output.data(nameColumn(QString(), nameWidth) + strayText(part) + QLatin1Char('\n'));
}

QString axis(const QString& first, const QString& last, int width)
{
    return first + last.rightJustified(std::max(last.size() + 1, width - first.size()));
}

}  // namespace

bool writeHistogram(const ep::SxImageBuf& image, const QVector<ImagePart>& parts, bool logarithmic, Output& output)
{
    int nameWidth = 0;
    for (const ImagePart& part : parts)
        nameWidth = std::max(nameWidth, part.name.size());
    const int room = std::max(narrowest, output.width() - nameColumn(QString(), nameWidth).size());
    ImageHistogram histogram;
    if (!countSamples(image, parts, room, histogram))
        return false;
    const int repeat = room / histogram.bins.count;
    const QString scale = logarithmic ? QStringLiteral("logarithmic") : QStringLiteral("linear");
    writeFacts({{QStringLiteral("histogram"),
                 QStringLiteral("%1, %2, highest %3")
                     .arg(binsText(histogram, image.dataType), scale)
                     .arg(histogram.largestCount()),
                 QString(), QJsonValue()}},
               output);
    for (const PartHistogram& part : histogram.parts)
        writePart(part, heightsOf(part.histogram.counts, histogram.largestCount(), logarithmic), repeat, nameWidth,
                  output);
    output.data(nameColumn(QString(), nameWidth)
                + axis(firstLevelText(histogram, image.dataType), lastLevelText(histogram, image.dataType),
                       histogram.bins.count * repeat)
                + QLatin1Char('\n'));
    return true;
}
