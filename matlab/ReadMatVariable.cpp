#include "ReadMatVariable.h"

#include "MatImageAllocation.h"
#include "MatPlane.h"
#include "MatSampleTypes.h"

#include <ep/CxScopedBuffer.h>

#include <QStringList>

#include <limits>

namespace orn {
namespace matlab {

namespace {

QString sizeText(const MatEntry& entry)
{
    QStringList sizes;
    for (const quint64 size : entry.dimensions)
        sizes << QString::number(size);
    return sizes.join(QStringLiteral(" x "));
}

QString namesText(const MatDirectory& directory)
{
    constexpr int mostNames = 20;
    const auto count = static_cast<int>(directory.entries().size());
    if (count == 0)
        return QStringLiteral("the file holds no variables");
    QStringList names;
    for (const MatEntry& entry : directory.entries())
        if (names.size() < mostNames)
            names << QString::fromLatin1(entry.name);
    const QString text = QStringLiteral("the file holds ") + names.join(QStringLiteral(", "));
    return count > mostNames ? text + QStringLiteral(" and %1 more").arg(count - mostNames) : text;
}

/** Why @p entry is no image; empty when it is one. */
QString obstacle(const MatEntry& entry)
{
    if (entry.isComplex)
        return QStringLiteral("it is complex");
    if (!readableSampleType(entry.matClass)) {
        const QString reason = QStringLiteral("it is of class %1").arg(matClassName(entry.matClass, entry.isLogical));
        return isDenseNumeric(entry.matClass) ? reason + QStringLiteral(", whose 64 bits are not read") : reason;
    }
    if (entry.dimensions.size() != 2 && entry.dimensions.size() != 3)
        return QStringLiteral("it has %1 dimensions (%2)").arg(entry.dimensions.size()).arg(sizeText(entry));
    if (entry.elements() == 0)
        return QStringLiteral("it is empty (%1)").arg(sizeText(entry));
    return QString();
}

bool refuse(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

}  // namespace

bool readMatVariable(MatDirectory& directory, const QString& name, qint64 limit, ep::SxImageBuf& image,
                     ep::SxFileError& error)
{
    MatEntry* const entry = directory.find(name);
    if (!entry)
        return refuse(error, ep::ExFileError::Unsupported,
                      QStringLiteral("there is no variable \"%1\": %2").arg(name, namesText(directory)));
    const QString reason = obstacle(*entry);
    if (!reason.isEmpty())
        return refuse(error, ep::ExFileError::Unsupported,
                      QStringLiteral("the variable \"%1\" is no image: %2").arg(name, reason));
    const quint64 channels = entry->dimensions.value(2, 1);
    if (channels > quint64(std::numeric_limits<qint32>::max()))
        return refuse(error, ep::ExFileError::TooLarge, QStringLiteral("the image has too many channels"));

    ep::CxScopedBuffer loaded(image);
    loaded->channels = static_cast<qint32>(channels);
    loaded->layout = channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked;
    const ep::ExImageDataType type = readableSampleType(entry->matClass)->dataType;
    // Read first: that proves the dimensions.
    const MatVarHandle variable = directory.read(*entry, limit, error);
    if (!variable || !describeImage(*entry, type, limit, loaded.image(), error) || !allocateImage(loaded, error))
        return false;
    for (qint32 plane = 0; plane < loaded->channels; ++plane) {
        const PlaneTarget target = {ep::sampleFacts(type).bytes, ep::internal::planeView(loaded.image(), plane)};
        copyIntoPlane(*variable, target, qint64(plane) * loaded->width * loaded->height);
    }
    ep::FreeBuffer(image);
    image = loaded.take();
    return true;
}

}  // namespace matlab
}  // namespace orn
