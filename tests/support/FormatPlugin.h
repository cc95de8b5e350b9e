/**
 * @file
 * The classes of a format plug-in, made the way hosts make them, without the format manager in between.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/CxRtti.h>
#include <ep/CxScopedBuffer.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>

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

/** An open loader and the frame that was asked for. */
struct LoadedFrame {
    std::unique_ptr<ep::IxImageDataLoader> loader;
    std::unique_ptr<ep::CxImageData> data;  ///< null when the file was not opened

    const ep::SxImageBuf& image() const { return data->image(); }
    const ep::CxCommonImageMetadata* common() const
    {
        return qobject_cast<const ep::CxCommonImageMetadata*>(
            data->metadata().findItem(ep::CxCommonImageMetadata::staticMetaObject));
    }
};

/** Loads a frame with a new loader of class @p className. */
inline LoadedFrame loadFrame(const char* className, const QString& path, int frame = 0, qint64 memoryLimit = 0)
{
    LoadedFrame loaded;
    loaded.loader = makeRegistered<ep::IxImageDataLoader>(className, "IxImageDataLoader");
    loaded.loader->setMemoryLimit(memoryLimit);
    loaded.loader->setFileName(path);
    if (loaded.loader->open())
        loaded.data.reset(loaded.loader->imageData(frame));
    return loaded;
}

/** Image data as hosts hand them to savers; takes @p image and @p common, which may be null, over. */
inline std::unique_ptr<ep::CxImageData> imageDataOf(ep::CxScopedBuffer image,
                                                    ep::CxCommonImageMetadata* common = nullptr)
{
    auto data = std::make_unique<ep::CxImageData>();
    data->setImageShallow(image.take(), 0, 0, QDateTime());
    ep::CxMetadata metadata;
    metadata.addMetadata(common);
    data->setMetadata(std::move(metadata));
    return data;
}

}  // namespace testing
