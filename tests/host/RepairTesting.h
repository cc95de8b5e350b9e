/**
 * @file
 * Damaged images in a folder of their own, for tests of `orn repair`.
 */
#pragma once

#include "ConvertTesting.h"
#include "Files.h"

#include <QJsonArray>

namespace testing {

/** Runs `orn repair` on two files of @p folder. */
inline ProgramRun repairFiles(const ImageFolder& folder, const QStringList& options, const char* from, const char* to)
{
    return runOrn(QStringList{QStringLiteral("repair")} + options + QStringList{folder.path(from), folder.path(to)});
}

/** Options given in one text with blanks between them; "@name" stands for the path of a file in @p folder. */
inline QStringList optionsOf(const ImageFolder& folder, const QString& text)
{
    QStringList options = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (QString& option : options)
        if (option.startsWith(QLatin1Char('@')))
            option = folder.path(option.mid(1));
    return options;
}

/** True where damagedImage() is broken: about one sample in nine. */
inline bool isBroken(int x, int y, int c)
{
    return (x * 5 + y * 7 + c * 2) % 9 == 4;
}

/**
 * An image whose samples tell the channel, or the place in the cell of a mosaic, that they belong to: 1000 and more per
 * place in 16 bits, 20 and more in 8 bits. Broken ones are 0 or the largest value.
 */
inline ep::CxScopedBuffer damagedImage(const ep::SxImageInfo& info)
{
    auto image = randomImage(info);
    const bool isByte = ep::sampleFacts(info.dataType).bytes == 1;
    const int cellWidth = info.bayerGrid == ep::BayerGridNone ? 1 : info.patternWidth;
    const int cellHeight = info.bayerGrid == ep::BayerGridNone ? 1 : info.patternHeight;
    for (int c = 0; c < info.channels; ++c)
        for (int y = 0; y < info.height; ++y)
            for (int x = 0; x < info.width; ++x) {
                const int place = y % cellHeight * cellWidth + x % cellWidth + c;
                const int part = (x + y) % 10;
                const int most = (1 << info.bitDepth) - 1;
                const int valid = isByte ? 20 * (place + 1) + part : 400 * (place + 1) + part;
                const int value = isBroken(x, y, c) ? (x % 2 ? most : 0) : valid;
                if (isByte)
                    setSample(image.image(), x, y, c, static_cast<quint8>(value));
                else
                    setSample(image.image(), x, y, c, static_cast<quint16>(value));
            }
    return image;
}

/** A mosaic of 16 bits; grid 5 has cells of 6 x 6 samples. */
inline ep::SxImageInfo mosaicInfo(int grid, int width, int height)
{
    ep::SxImageInfo info = describe(ep::DataTypeUInt16, width, height);
    info.bayerGrid = static_cast<ep::ExBayerGrid>(grid);
    info.patternWidth = grid == ep::BayerGridCell ? 6 : grid == ep::BayerGridNone ? 0 : 2;
    info.patternHeight = info.patternWidth;
    return info;
}

/** The sum of what an answer says of the planes. */
inline int repairedIn(const QJsonObject& answer)
{
    int sum = 0;
    for (const QJsonValue& plane : answer[QStringLiteral("planes")].toArray())
        sum += plane.toObject()[QStringLiteral("repaired")].toInt();
    return sum == answer[QStringLiteral("repaired")].toInt() ? sum : -1;
}

}  // namespace testing
