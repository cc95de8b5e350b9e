#include "FitsMosaic.h"

#include <ep/internal/MosaicCell.h>

#include <QStringList>

namespace ep {
namespace fits {
namespace {

/** Rows and columns of a cell with so many letters; 0 when there is no such cell. */
int cellSize(int letters)
{
    return letters == 4 ? 2 : letters == 36 ? 6 : 0;
}

/** The remainder that is never negative. */
int phase(qint64 position, int size)
{
    return static_cast<int>((position % size + size) % size);
}

qint64 offsetOf(const FitsHeader& header, const QByteArray& name)
{
    double value = 0;
    constexpr double most = 1e9;
    return header.number(name, value) && value > -most && value < most ? static_cast<qint64>(value) : 0;
}

QByteArray lettersOf(const FitsHeader& header)
{
    for (const char* name : {"BAYERPAT", "COLORTYP"}) {
        const QByteArray letters = header.text(name).trimmed().toUpper();
        bool areColors = cellSize(letters.size()) > 0;
        for (const char letter : letters)
            areColors = areColors && (letter == 'R' || letter == 'G' || letter == 'B');
        if (areColors)
            return letters;
    }
    return QByteArray();
}

}  // namespace

bool readFitsMosaic(const FitsImage& source, SxImageInfo& image, QString& colors)
{
    const QByteArray letters = lettersOf(source.header);
    const int size = cellSize(letters.size());
    if (size == 0 || image.channels != 1 || image.width < size || image.height < size)
        return false;
    const qint64 left = offsetOf(source.header, "XBAYROFF");
    const qint64 top = offsetOf(source.header, "YBAYROFF");
    const bool countsFromTop = source.header.has("ROWORDER");
    QByteArray cell;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const qint64 row = countsFromTop ? y : image.height - 1 - y;
            cell += letters[phase(row + top, size) * size + phase(x + left, size)];
        }
    const ExBayerGrid grid = internal::bayerGridOf(cell.constData());
    image.bayerGrid = grid == BayerGridNone ? BayerGridCell : grid;
    image.patternWidth = size;
    image.patternHeight = size;
    colors = QString::fromLatin1(cell);
    return true;
}

QByteArray patternOf(const SxImageInfo& image, const QString& colors)
{
    if (internal::isBayerGrid(image.bayerGrid))
        return internal::bayerLetters[image.bayerGrid];
    const int size = cellSize(colors.size());
    const bool fits =
        image.bayerGrid == BayerGridCell && size > 0 && image.patternWidth == size && image.patternHeight == size;
    if (!fits)
        return QByteArray();
    for (const QChar color : colors)
        if (!QStringLiteral("RGB").contains(color))
            return QByteArray();
    return colors.toLatin1();
}

}  // namespace fits
}  // namespace ep
