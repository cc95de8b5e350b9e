#include "PnmPlugin.h"

#include "CxPnmImageLoader.h"
#include "CxPnmImageSaver.h"

namespace ep {
namespace pnm {

bool PnmPlugin::init()
{
    CxRtti* registry = CxRtti::instance();
    registry->registerClass(this, CxPnmImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry->registerClass(this, CxPnmImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
    return true;
}

QList<QPair<QString, int>> pnmFormats()
{
    constexpr int rank = 30;
    return {
        {QStringLiteral("Portable bitmap (*.pbm)"), rank},        {QStringLiteral("Portable graymap (*.pgm)"), rank},
        {QStringLiteral("Portable pixmap (*.ppm)"), rank},        {QStringLiteral("Portable anymap (*.pnm)"), rank},
        {QStringLiteral("Portable arbitrary map (*.pam)"), rank}, {QStringLiteral("Portable float map (*.pfm)"), rank}};
}

}  // namespace pnm
}  // namespace ep
