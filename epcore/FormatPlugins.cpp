#include "FormatPlugins.h"

#include <ep/CxRtti.h>

#include "FormatFilter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>

#include <algorithm>
#include <cerrno>
#include <dlfcn.h>
#include <new>

namespace ep {

namespace {

/** The formats that a plug-in's own data declares; they can be read without loading it. */
QList<SxFormatInfo> declaredFormats(const QJsonObject& pluginData, const QString& name)
{
    QList<SxFormatInfo> formats;
    const QJsonArray declared =
        pluginData.value(QLatin1String("MetaData")).toObject().value(QLatin1String("formats")).toArray();
    for (const QJsonValue& value : declared) {
        const QJsonObject object = value.toObject();
        SxFormatInfo format;
        format.filter = object.value(QLatin1String("filter")).toString();
        format.suffixes = filterSuffixes(format.filter);
        format.provider = name;
        format.rank = object.value(QLatin1String("rank")).toInt();
        format.reads = object.value(QLatin1String("read")).toBool();
        format.writes = object.value(QLatin1String("write")).toBool();
        format.types = object.value(QLatin1String("types")).toString();
        format.channels = object.value(QLatin1String("channels")).toString();
        format.mosaic = object.value(QLatin1String("mosaic")).toBool();
        format.metadata = object.value(QLatin1String("metadata")).toBool();
        formats.append(format);
    }
    return formats;
}

}  // namespace

void FormatPlugins::addFolder(const QString& folder)
{
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo& file : files) {
        const QString name = file.completeBaseName();
        const bool isKnown = std::any_of(m_plugins.cbegin(), m_plugins.cend(),
                                         [&](const SxFormatPlugin& plugin) { return plugin.name == name; });
        if (isKnown || !QLibrary::isLibrary(file.fileName()))
            continue;
        const QJsonObject pluginData = QPluginLoader(file.absoluteFilePath()).metaData();
        if (pluginData.value(QLatin1String("IID")).toString() == QLatin1String(CxPlugin_iid))
            m_plugins.push_back({file.absoluteFilePath(), name, declaredFormats(pluginData, name)});
    }
}

QString FormatPlugins::ownFolder()
{
    static const char insideThisLibrary = 0;
    Dl_info library;
    if (dladdr(&insideThisLibrary, &library) == 0)
        return QString();
    const QFileInfo file(QFile::decodeName(library.dli_fname));
    return file.absoluteDir().filePath(QStringLiteral(EP_PLUGIN_SUBDIR));
}

QString FormatPlugins::load(SxFormatPlugin& plugin)
{
    QPluginLoader loader(plugin.path);
    // The registry keeps pointers into the module.
    loader.setLoadHints(QLibrary::PreventUnloadHint);
    QObject* instance = loader.instance();
    // Want of memory passes, so that the plug-in stays one to try. The system's loader tells it in words alone.
    if (!instance && loader.errorString().contains(qt_error_string(ENOMEM)))
        throw std::bad_alloc();
    auto* module = qobject_cast<CxPlugin*>(instance);
    const bool isUsable = module && module->init();
    plugin.isPending = false;
    if (!instance)
        return loader.errorString();
    return isUsable ? QString() : QStringLiteral("it cannot be used here");
}

}  // namespace ep
