#include <orn/matlab/MatVariables.h>

#include "EntropyPlanes.h"
#include "MatMetadata.h"
#include "MatNames.h"
#include "MatSampleTypes.h"

#include <ep/CxImageFormatManager.h>
#include <ep/internal/OutOfMemory.h>

#include <new>

namespace orn {
namespace matlab {

namespace {

void setRole(QVector<MatVariable>& variables, const MatDirectory& directory, const MatEntry* entry, const QString& role)
{
    if (entry)
        variables[static_cast<int>(directory.indexOf(*entry))].role = role;
}

QString planeRole(const MatEntry* entry, int plane)
{
    const bool isRefused = entry && (entry->isComplex || !readableSampleType(entry->matClass));
    return QStringLiteral("plane %1%2").arg(plane).arg(isRefused ? QStringLiteral(" (refused)") : QString());
}

void setPlaneRoles(QVector<MatVariable>& variables, MatDirectory& directory, const QStringList& names)
{
    for (int i = 0; i < names.size(); ++i) {
        const MatEntry* const entry = directory.find(names[i]);
        setRole(variables, directory, entry, planeRole(entry, i + 1));
    }
}

// The numbered planes that the metadata promises and the file holds.
QStringList ownPlaneNames(MatDirectory& directory, qint32 channels)
{
    QStringList names;
    for (qint32 i = 0; i < channels; ++i) {
        const QString name = numberedPlaneName(defaultBaseName(), i);
        if (!directory.find(name))
            break;
        names << name;
    }
    return names;
}

void setRoles(QVector<MatVariable>& variables, MatDirectory& directory)
{
    const QString prefix = entropyPrefix(directory);
    if (!prefix.isEmpty()) {
        setPlaneRoles(variables, directory, entropyPlaneNames(directory, prefix));
        return;
    }
    ep::CxMetadata metadata;
    MatEntry* const text = findMetadata(directory);
    setRole(variables, directory, text, QStringLiteral("metadata"));
    const bool isValid =
        text && readMetadata(directory, *text, ep::CxImageFormatManager::instance()->memoryLimit(), metadata);
    const auto* item = findItem<CxMatlabImageMetadata>(metadata);
    if (isValid && item && item->savedChannels != 0)
        setPlaneRoles(variables, directory, ownPlaneNames(directory, item->savedChannels));
    else
        setRole(variables, directory, directory.firstMatrix(), planeRole(directory.firstMatrix(), 1));
}

}  // namespace

bool ListMatVariables(QString const& path, QVector<MatVariable>& variables, QString* reason)
{
    ep::SxFileError error;
    const bool isListed = ListMatVariables(path, variables, error);
    if (reason && !isListed)
        *reason = error.reason;
    return isListed;
}

bool ListMatVariables(QString const& path, QVector<MatVariable>& variables, ep::SxFileError& error)
try {
    MatDirectory directory;
    if (!directory.open(path, {metadataName().toLatin1()}, ep::CxImageFormatManager::instance()->memoryLimit(), error))
        return false;
    QVector<MatVariable> list;
    for (const MatEntry& entry : directory.entries())
        list.append({QString::fromLatin1(entry.name), matClassName(entry.matClass, entry.isLogical), entry.dimensions,
                     entry.isComplex, QString()});
    setRoles(list, directory);
    variables = list;
    return true;
} catch (const std::bad_alloc&) {
    error = ep::internal::outOfMemory();
    return false;
}

}  // namespace matlab
}  // namespace orn
