#include "FitsPlugin.h"

#include "CxFitsImageLoader.h"
#include "CxFitsImageSaver.h"

namespace ep {
namespace fits {
namespace {

constexpr int rank = 10;

}  // namespace

bool FitsPlugin::init()
{
    CxRtti* registry = CxRtti::instance();
    registry->registerClass(this, CxFitsImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry->registerClass(this, CxFitsImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
    return true;
}

QList<QPair<QString, int>> writtenFormats()
{
    return {{QStringLiteral("FITS image (*.fits *.fit *.fts)"), rank}};
}

QList<QPair<QString, int>> readFormats()
{
    return writtenFormats() + QList<QPair<QString, int>>{{QStringLiteral("Compressed FITS image (*.fz)"), rank}};
}

}  // namespace fits
}  // namespace ep
