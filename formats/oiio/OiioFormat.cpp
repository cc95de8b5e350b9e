#include "OiioFormat.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>

namespace ep {
namespace oiio {
namespace {

constexpr int mostTried = 5;  // channels; see OiioFormat::exact

const OiioFormat formats[] = {
#include "OiioFormatTable.inc"
};

bool isKnownType(qint32 type)
{
    return type > DataTypeNone && type <= DataTypeUInt64;
}

/** "1, 3 or 4": the numbers of channels in @p mask. */
QString channelText(unsigned mask)
{
    constexpr unsigned any = (1u << mostTried) - 1;
    if (mask == any)
        return QStringLiteral("any number of");
    QStringList numbers;
    for (int count = 1; count <= mostTried; ++count)
        if (mask >> (count - 1) & 1)
            numbers << QString::number(count);
    const QString last = numbers.takeLast();
    return numbers.isEmpty() ? last : QStringLiteral("%1 or %2").arg(numbers.join(QStringLiteral(", ")), last);
}

QList<QPair<QString, int>> listOf(bool (*isListed)(const OiioFormat&))
{
    QList<QPair<QString, int>> list;
    for (const OiioFormat& format : formats)
        if (isListed(format))
            list.append({QString::fromLatin1(format.filter), format.rank});
    return list;
}

}  // namespace

bool OiioFormat::writes() const
{
    const auto isHeld = [](unsigned mask) { return mask != 0; };
    return std::any_of(std::begin(exact), std::end(exact), isHeld)
           || std::any_of(std::begin(lossy), std::end(lossy), isHeld);
}

Holding OiioFormat::holding(const SxImageInfo& image) const
{
    if (!isKnownType(image.dataType) || image.channels < 1)
        return Holding::None;
    const unsigned bit = 1u << (std::min(image.channels, mostTried) - 1);
    if (exact[image.dataType] & bit)
        return Holding::Exact;
    return lossy[image.dataType] & bit ? Holding::Lossy : Holding::None;
}

QString OiioFormat::contents() const
{
    QStringList types;
    unsigned channels = 0;
    for (int type = DataTypeInt8; type <= DataTypeUInt64; ++type)
        if (const unsigned mask = exact[type] | lossy[type]) {
            types << QLatin1String(sampleFacts(type).name);
            channels |= mask;
        }
    return QStringLiteral("samples of type %1 in %2 channels")
        .arg(types.join(QStringLiteral(" or ")), channelText(channels));
}

const OiioFormat* formatOfFile(const QString& fileName)
{
    const QString pattern = QStringLiteral("*.") + QFileInfo(fileName).suffix().toLower();
    for (const OiioFormat& format : formats) {
        const QString filter = QString::fromLatin1(format.filter);
        const int open = filter.indexOf(QLatin1Char('('));
        const QStringList patterns = filter.mid(open + 1).chopped(1).split(QLatin1Char(' '));
        if (patterns.contains(pattern))
            return &format;
    }
    return nullptr;
}

QList<QPair<QString, int>> readFormats()
{
    return listOf([](const OiioFormat& format) { return format.reads; });
}

QList<QPair<QString, int>> writtenFormats()
{
    return listOf([](const OiioFormat& format) { return format.writes(); });
}

}  // namespace oiio
}  // namespace ep
