/**
 * @file
 * The least that classes of a format plug-in must be: everything else is what their bases do.
 */
#pragma once

#include "LowMemory.h"

#include <ep/CxImageData.h>
#include <ep/CxRtti.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>
#include <ep/IxMetadataLoader.h>
#include <ep/IxMetadataSaver.h>

#include <QFile>

namespace testing {

inline QList<QPair<QString, int>> sampleFormats()
{
    return {{QStringLiteral("Sample (*.sample)"), 1}};
}

/** The mask of a scene, byte by byte, is the only picture that it knows. */
class SampleLoader : public ep::IxImageDataLoader {
    Q_OBJECT
public:
    Q_INVOKABLE SampleLoader() = default;
    static SampleLoader& shared()
    {
        static SampleLoader loader;
        return loader;
    }
    bool open() override
    {
        QFile file(m_name);
        ep::CxScopedBuffer image(describeSample());
        if (!file.open(QIODevice::ReadOnly) || ep::failed(image.allocate()))
            return false;
        const qint64 bytes = qint64(image->stride) * image->height;
        m_isOpen = file.read(static_cast<char*>(image->data), bytes) == bytes;
        if (m_isOpen)
            m_data.setImageShallow(image.take(), 0, 0, QDateTime());
        return m_isOpen;
    }
    bool isOpen() const override { return m_isOpen; }
    void close() override { m_isOpen = false; }
    int frameCount() const override { return 1; }
    QString fileName() const override { return m_name; }
    void setFileName(const QString& name) override { m_name = name; }
    QList<QPair<QString, int>> formats() const override { return sampleFormats(); }
    ep::CxImageData* imageData(int) override { return qobject_cast<ep::CxImageData*>(m_data.clone(0)); }
    const ep::CxImageData& held() const { return m_data; }

private:
    static ep::SxImageInfo describeSample()
    {
        ep::SxImageInfo info = ep::emptyImage();
        info.width = Scene::columns;
        info.height = Scene::rows;
        info.channels = 1;
        info.bitDepth = 8;
        info.dataType = ep::DataTypeUInt8;
        return info;
    }

    QString m_name;
    ep::CxImageData m_data;
    bool m_isOpen = false;
};

class SampleSaver : public ep::IxImageDataSaver {
    Q_OBJECT
public:
    Q_INVOKABLE SampleSaver() = default;
    static SampleSaver& shared()
    {
        static SampleSaver saver;
        return saver;
    }
    bool saveImage(const ep::IxData* data) override
    {
        const auto* source = qobject_cast<const ep::CxImageData*>(data);
        QFile file(m_name);
        if (!source || !file.open(QIODevice::WriteOnly))
            return false;
        const ep::SxImageBuf& image = source->image();
        const qint64 bytes = qint64(image.stride) * image.height;
        return file.write(static_cast<const char*>(image.data), bytes) == bytes && file.flush();
    }
    QString fileName() const override { return m_name; }
    void setFileName(const QString& name) override { m_name = name; }
    void setOptions(const QMap<QString, QVariant>&) override {}
    QList<QPair<QString, int>> formats() const override { return sampleFormats(); }

private:
    QString m_name;
};

class SamplePlugin : public ep::CxPlugin {
public:
    bool init() override { return true; }
};

class SampleMetadataLoader : public ep::IxMetadataLoader {
public:
    bool load(const QDomElement&, ep::IxMetadataItem*) override { return false; }
    QStringList supportedClasses() const override { return {}; }
};

class SampleMetadataSaver : public ep::IxMetadataSaver {
public:
    bool save(QDomDocument&, QDomElement&, ep::IxMetadataItem*) override { return false; }
    QStringList supportedClasses() const override { return {}; }
};

/** Makes the image of @p data, which it takes over, what @p scene made; false when there is none. */
inline bool takeInto(Scene& scene, ep::IxData* data)
{
    const std::unique_ptr<ep::CxImageData> taken(static_cast<ep::CxImageData*>(data));
    if (taken)
        scene.made.reset(taken->takeImage());
    return taken != nullptr;
}

}  // namespace testing
