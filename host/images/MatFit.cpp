#include "MatFit.h"

#include "EntropyFile.h"
#include "Mosaic.h"

#include <QRegularExpression>

namespace {

bool refuse(ep::SxFileError& error, const QString& reason)
{
    error = {ep::ExFileError::Refused, reason};
    return false;
}

QString lostEdge(int count, const QString& noun)
{
    return count == 1 ? QStringLiteral("the last ") + noun : QStringLiteral("the last %1 %2s").arg(count).arg(noun);
}

bool cropToCells(bool lossy, ep::SxImageBuf& image, QStringList& notes, ep::SxFileError& error)
{
    const QSize cell = cellSize(image);
    const int columns = image.width % cell.width();
    const int rows = image.height % cell.height();
    if (columns == 0 && rows == 0)
        return true;
    QStringList lost;
    if (columns > 0)
        lost << lostEdge(columns, QStringLiteral("column"));
    if (rows > 0)
        lost << lostEdge(rows, QStringLiteral("row"));
    const QString what = lost.join(QStringLiteral(" and "));
    const QString cells = QStringLiteral("a mosaic of %1 x %2 is no whole number of %3 x %4 cells")
                              .arg(image.width)
                              .arg(image.height)
                              .arg(cell.width())
                              .arg(cell.height());
    if (image.width < cell.width() || image.height < cell.height())
        return refuse(error, cells + QStringLiteral(", and holds none: --cfa none stores it as a plain image"));
    if (!lossy)
        return refuse(error, cells
                                 + QStringLiteral(": %1 would be lost (--lossy allows it, --cfa none stores the "
                                                  "samples as a plain image)")
                                       .arg(what));
    image.width -= columns;
    image.height -= rows;
    notes << QStringLiteral("dropped %1: a MAT file holds whole cells").arg(what);
    return true;
}

bool fitEntropy(bool lossy, const ep::SxImageBuf& image, QStringList& notes, ep::SxFileError& error)
{
    if (image.dataType != ep::DataTypeDouble)
        return refuse(error, QStringLiteral("entropy images hold samples of 64 bit float, these are %1 (without "
                                            "--entropy they are stored as they are)")
                                 .arg(QLatin1String(ep::sampleFacts(image.dataType).name)));
    const int planes = entropyPlanes(image);
    if (planes <= entropyPlanesReadBack)
        return true;
    const QString what = QStringLiteral("of %1 planes, only the first %2 can be read back from an entropy image")
                             .arg(planes)
                             .arg(entropyPlanesReadBack);
    if (!lossy)
        return refuse(error, what + QStringLiteral(" (--lossy allows it)"));
    notes << what;
    return true;
}

}  // namespace

bool fitIntoMat(const MatTarget& target, ep::SxImageBuf& image, QStringList& notes, ep::SxFileError& error)
{
    if (isMosaic(image) && !cropToCells(target.lossy, image, notes, error))
        return false;
    return target.entropyPrefix.isEmpty() || fitEntropy(target.lossy, image, notes, error);
}

QString refusedBaseName(const QString& name)
{
    // MATLAB knows names of up to 63 characters, of which "_channel_" and a number take their share.
    static const QRegularExpression matlabName(QStringLiteral("\\A[A-Za-z][A-Za-z0-9_]{0,47}\\z"));
    if (!matlabName.match(name).hasMatch())
        return QStringLiteral("'%1' is no name of MATLAB's: a letter, then up to 47 letters, digits and underscores")
            .arg(name);
    return QString();
}
