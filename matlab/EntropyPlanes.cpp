#include "EntropyPlanes.h"

#include "MatImageAllocation.h"
#include "MatNames.h"
#include "MatPlane.h"

#include <ep/CxScopedBuffer.h>

namespace orn {
namespace matlab {

namespace {

constexpr int numberedPlanes = 3;  // a fourth is never looked for

bool refuse(ep::SxFileError& error, const QString& reason)
{
    error = {ep::ExFileError::Unsupported, reason};
    return false;
}

bool isRealDoubleMatrix(const MatEntry& entry)
{
    return entry.isMatrix() && entry.matClass == MAT_C_DOUBLE && !entry.isComplex;
}

}  // namespace

QString entropyPrefix(MatDirectory& directory)
{
    for (const QString& prefix : {QStringLiteral("PIG"), QStringLiteral("PDG")})
        if (directory.find(colourPlaneName(prefix, 0)) || directory.find(numberedPlaneName(prefix, 0)))
            return prefix;
    return QString();
}

QList<QByteArray> entropyVariables(const QString& prefix)
{
    return {(prefix + QStringLiteral("_channel_")).toLatin1()};
}

QStringList entropyPlaneNames(MatDirectory& directory, const QString& prefix)
{
    const bool byColour = directory.find(colourPlaneName(prefix, 0)) != nullptr;
    QStringList names;
    for (int i = 0; i < (byColour ? colourPlanes : numberedPlanes); ++i) {
        const QString name = byColour ? colourPlaneName(prefix, i) : numberedPlaneName(prefix, i);
        if (!directory.find(name))
            break;
        names << name;
    }
    return names;
}

bool readEntropyPlanes(MatDirectory& directory, const QString& prefix, qint64 limit, ep::SxImageBuf& image,
                       ep::SxFileError& error)
{
    const QStringList names = entropyPlaneNames(directory, prefix);
    if (names.isEmpty())
        return refuse(error, QStringLiteral("there is no plane of that prefix"));
    const MatEntry& first = *directory.find(names.first());
    if (!isRealDoubleMatrix(first))
        return refuse(error, QStringLiteral("the first plane is no matrix of real doubles"));

    ep::CxScopedBuffer loaded(image);
    loaded->channels = names.size();
    loaded->layout = names.size() > 1 ? ep::LayoutPlanar : ep::LayoutPacked;
    if (!describeImage(first, ep::DataTypeDouble, limit, loaded.image(), error) || !allocateImage(loaded, error))
        return false;
    for (int i = 0; i < names.size(); ++i) {
        const PlaneTarget target = {sizeof(double), ep::internal::planeView(loaded.image(), i)};
        if (!readIntoPlane(directory, *directory.find(names[i]), limit, target, error))
            return false;
    }
    ep::FreeBuffer(image);
    image = loaded.take();
    return true;
}

}  // namespace matlab
}  // namespace orn
