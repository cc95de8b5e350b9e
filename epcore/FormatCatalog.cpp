#include "FormatCatalog.h"

#include <ep/CxRtti.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>

#include "FormatFilter.h"

#include <QMetaClassInfo>

#include <algorithm>
#include <limits>
#include <memory>

namespace ep {

namespace {

constexpr int noRank = std::numeric_limits<int>::min();

QString interfaceName(ExFormatUse use)
{
    return use == ExFormatUse::Read ? QStringLiteral("IxImageDataLoader") : QStringLiteral("IxImageDataSaver");
}

QList<QPair<QString, int>> askForFormats(const QMetaObject& metaObject)
{
    const std::unique_ptr<QObject> object(metaObject.newInstance());
    if (const auto* loader = qobject_cast<IxImageDataLoader*>(object.get()))
        return loader->formats();
    if (const auto* saver = qobject_cast<IxImageDataSaver*>(object.get()))
        return saver->formats();
    return {};
}

/** The highest rank among those of @p formats that serve @p fileName; noRank when none does. */
int rankFor(const QList<SxFormatInfo>& formats, ExFormatUse use, const QString& fileName)
{
    int rank = noRank;
    for (const SxFormatInfo& format : formats)
        if ((use == ExFormatUse::Read ? format.reads : format.writes) && hasSuffix(fileName, format.suffixes))
            rank = std::max(rank, format.rank);
    return rank;
}

/** Takes over what @p known says of what the format keeps. */
void describe(SxFormatInfo& format, const SxFormatInfo& known)
{
    if (format.types.isEmpty())
        format.types = known.types;
    if (format.channels.isEmpty())
        format.channels = known.channels;
    format.mosaic = format.mosaic || known.mosaic;
    format.metadata = format.metadata || known.metadata;
}

/** What the class infos of a loader or saver that comes with no plug-in say of what its format keeps. */
SxFormatInfo classDescription(const QMetaObject& metaObject)
{
    const auto info = [&](const char* name) {
        const int index = metaObject.indexOfClassInfo(name);
        return index < 0 ? QString() : QString::fromLatin1(metaObject.classInfo(index).value());
    };
    SxFormatInfo description;
    description.types = info("FormatTypes");
    description.channels = info("FormatChannels");
    description.mosaic = info("FormatMosaic") == QLatin1String("yes");
    description.metadata = info("FormatMetadata") == QLatin1String("yes");
    return description;
}

bool isListed(const QList<SxFormatInfo>& list, const QString& filter)
{
    return std::any_of(list.begin(), list.end(), [&](const SxFormatInfo& entry) { return entry.filter == filter; });
}

/** Adds @p format, or what it adds to the entry of the same filter. */
void merge(QList<SxFormatInfo>& list, const SxFormatInfo& format)
{
    const auto same = std::find_if(list.begin(), list.end(),
                                   [&](const SxFormatInfo& entry) { return entry.filter == format.filter; });
    if (same == list.end()) {
        list.append(format);
        return;
    }
    same->reads = same->reads || format.reads;
    same->writes = same->writes || format.writes;
    same->rank = std::max(same->rank, format.rank);
    describe(*same, format);
}

}  // namespace

FormatCatalog::FormatCatalog()
{
    m_plugins.addFolder(FormatPlugins::ownFolder());
}

void FormatCatalog::addPluginFolder(const QString& folder)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plugins.addFolder(folder);
}

const QList<SxFormatInfo>& FormatCatalog::formatsOf(const QMetaObject& metaObject, ExFormatUse use) const
{
    const auto known = m_formats.constFind(&metaObject);
    if (known != m_formats.cend())
        return *known;
    QList<SxFormatInfo> formats;
    const QList<QPair<QString, int>> served = askForFormats(metaObject);
    for (const auto& entry : served) {
        SxFormatInfo format = classDescription(metaObject);
        format.filter = entry.first;
        format.suffixes = filterSuffixes(entry.first);
        format.provider = CxRtti::displayName(metaObject);
        format.rank = entry.second;
        format.reads = use == ExFormatUse::Read;
        format.writes = use == ExFormatUse::Write;
        formats.append(format);
    }
    return *m_formats.insert(&metaObject, formats);
}

QList<SxFormatInfo> FormatCatalog::formats() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QList<SxFormatInfo> list;
    for (const ExFormatUse use : {ExFormatUse::Read, ExFormatUse::Write}) {
        const QList<const QMetaObject*> classes = CxRtti::instance()->classes(interfaceName(use));
        for (const QMetaObject* metaObject : classes)
            for (const SxFormatInfo& format : formatsOf(*metaObject, use))
                merge(list, format);
    }
    for (const SxFormatPlugin& plugin : m_plugins.plugins())
        for (const SxFormatInfo& format : plugin.formats)
            if (plugin.isPending || isListed(list, format.filter))
                merge(list, format);
    std::sort(list.begin(), list.end(),
              [](const SxFormatInfo& a, const SxFormatInfo& b) { return a.filter < b.filter; });
    return list;
}

const QMetaObject* FormatCatalog::next(ExFormatUse use, const QString& fileName, const QSet<const QMetaObject*>& tried,
                                       QString& failure)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (;;) {
        int bestRank = noRank;
        const QMetaObject* bestClass = nullptr;
        const QList<const QMetaObject*> classes = CxRtti::instance()->classes(interfaceName(use));
        for (const QMetaObject* metaObject : classes) {
            const int rank = rankFor(formatsOf(*metaObject, use), use, fileName);
            if (rank > bestRank && !tried.contains(metaObject)) {
                bestRank = rank;
                bestClass = metaObject;
            }
        }
        SxFormatPlugin* bestPlugin = nullptr;
        for (SxFormatPlugin& plugin : m_plugins.plugins()) {
            const int rank = plugin.isPending ? rankFor(plugin.formats, use, fileName) : noRank;
            if (rank > bestRank) {
                bestRank = rank;
                bestPlugin = &plugin;
            }
        }
        if (!bestPlugin)
            return bestClass;
        const QString reason = FormatPlugins::load(*bestPlugin);
        if (!reason.isEmpty())
            failure = QStringLiteral("the format plug-in %1 cannot be loaded: %2").arg(bestPlugin->name, reason);
    }
}

const QMetaObject* FormatCandidates::next()
{
    const QMetaObject* metaObject = m_catalog.next(m_use, m_fileName, m_tried, m_pluginFailure);
    m_tried.insert(metaObject);
    return metaObject;
}

}  // namespace ep
