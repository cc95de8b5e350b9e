#include "FormatCatalog.h"

#include <ep/CxRtti.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>

#include "FormatFilter.h"

#include <QMetaObject>
#include <QVariant>

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

QList<QPair<QString, int>> filtersOf(const QObject* object)
{
    if (const auto* loader = qobject_cast<const IxImageDataLoader*>(object))
        return loader->formats();
    if (const auto* saver = qobject_cast<const IxImageDataSaver*>(object))
        return saver->formats();
    return {};
}

/** The formats of a loader or saver class, with what its dynamic properties say of what they keep. */
QList<SxFormatInfo> askForFormats(const QMetaObject& metaObject, ExFormatUse use)
{
    const std::unique_ptr<const QObject> object(metaObject.newInstance());
    QList<SxFormatInfo> formats;
    const QList<QPair<QString, int>> filters = filtersOf(object.get());
    for (const auto& filter : filters) {
        SxFormatInfo format;
        format.filter = filter.first;
        format.suffixes = filterSuffixes(filter.first);
        format.provider = CxRtti::displayName(metaObject);
        format.rank = filter.second;
        format.reads = use == ExFormatUse::Read;
        format.writes = use == ExFormatUse::Write;
        format.types = object->property("types").toString();
        format.channels = object->property("channels").toString();
        format.mosaic = object->property("mosaic").toBool();
        format.metadata = object->property("metadata").toBool();
        formats.append(format);
    }
    return formats;
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
    findOwnPlugins();
}

void FormatCatalog::findOwnPlugins() const
{
    if (m_hasOwnPlugins)
        return;
    // A folder that cannot be read for want of memory or of file descriptors looks like an empty one.
    const size_t before = m_plugins.plugins().size();
    m_plugins.addFolder(FormatPlugins::ownFolder());
    m_hasOwnPlugins = m_plugins.plugins().size() > before;
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
    return *m_formats.insert(&metaObject, askForFormats(metaObject, use));
}

QList<SxFormatInfo> FormatCatalog::formats() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    findOwnPlugins();
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
    findOwnPlugins();
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
