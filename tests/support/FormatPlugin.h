/**
 * @file
 * The classes of a format plug-in, made the way hosts make them, without the format manager in between.
 */
#pragma once

#include <ep/CxRtti.h>

#include <QObject>
#include <QPluginLoader>
#include <QString>

#include <memory>

namespace testing {

/** Loads the plug-in module epformat_NAME of the build and lets it register its classes. */
inline void loadFormatPlugin(const QString& name)
{
    static QStringList loaded;
    if (loaded.contains(name))
        return;
    QPluginLoader loader(QStringLiteral(ORN_FORMATS_DIR "/epformat_") + name);
    auto* plugin = qobject_cast<ep::CxPlugin*>(loader.instance());
    if (!plugin || !plugin->init())
        qFatal("cannot load a format plug-in: %s", qPrintable(loader.errorString()));
    loaded << name;
}

/** A new object of the registered class @p className. */
template <typename Interface>
std::unique_ptr<Interface> makeRegistered(const char* className, const char* interfaceName)
{
    const auto classes = ep::CxRtti::instance()->classes(QString::fromLatin1(interfaceName));
    for (const QMetaObject* type : classes)
        if (qstrcmp(type->className(), className) == 0)
            return std::unique_ptr<Interface>(qobject_cast<Interface*>(type->newInstance()));
    qFatal("%s is not registered as %s", className, interfaceName);
    return nullptr;
}

}  // namespace testing
