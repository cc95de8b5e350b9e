/**
 * @file
 * A format that is nothing but the image record and its samples, for tests of what stands above the formats.
 */
#pragma once

#include <ep/AllocAndCopyBuffer.h>
#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/CxRtti.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>

#include <QFile>
#include <QString>

#include <cstring>
#include <memory>

namespace testing {

/** Bytes of the samples and paddings of @p image. */
inline qint64 dumpedBytes(const ep::SxImageInfo& image)
{
    return qint64(image.stride) * image.height * (image.layout == ep::LayoutPlanar ? image.channels : 1);
}

/** Files named *.dump. */
inline QList<QPair<QString, int>> dumpFormat()
{
    return {{QStringLiteral("Dump (*.dump)"), 1}};
}

/** Reads what DumpSaver writes. A test derives from it and spoils what it wants spoiled. */
class DumpLoader : public ep::IxImageDataLoader {
public:
    bool open() override
    {
        close();
        setError(ep::ExFileError::None);
        QFile file(m_name);
        ep::SxImageInfo info;
        if (!file.open(QIODevice::ReadOnly) || file.read(reinterpret_cast<char*>(&info), sizeof(info)) != sizeof(info))
            return fail(ep::ExFileError::Unreadable, QStringLiteral("there is no dump in it"));
        if (dumpedBytes(info) > memoryLimit())
            return fail(ep::ExFileError::TooLarge, QStringLiteral("the dump is too large"));
        ep::CxScopedBuffer image(info);
        if (ep::failed(image.allocate())
            || file.read(static_cast<char*>(image->data), dumpedBytes(info)) != dumpedBytes(info))
            return fail(ep::ExFileError::Unreadable, QStringLiteral("the dump ends too early"));
        m_data = std::make_unique<ep::CxImageData>();
        m_data->setImageShallow(image.take(), 0, 0, QDateTime());
        return true;
    }
    bool isOpen() const override { return m_data != nullptr; }
    void close() override { m_data.reset(); }
    int frameCount() const override { return 1; }
    QString fileName() const override { return m_name; }
    void setFileName(const QString& name) override { m_name = name; }
    QList<QPair<QString, int>> formats() const override { return dumpFormat(); }
    ep::CxImageData* imageData(int) override
    {
        return m_data ? qobject_cast<ep::CxImageData*>(m_data->clone(0)) : nullptr;
    }

protected:
    bool fail(ep::ExFileError kind, const QString& reason)
    {
        setError(kind, reason);
        return false;
    }
    ep::CxImageData* loaded() { return m_data.get(); }

private:
    QString m_name;
    std::unique_ptr<ep::CxImageData> m_data;
};

/** Writes the image record and the samples as they lie. A test derives from it. */
class DumpSaver : public ep::IxImageDataSaver {
public:
    bool saveImage(const ep::IxData* data) override
    {
        const ep::SxImageBuf& image = qobject_cast<const ep::CxImageData*>(data)->image();
        QFile file(m_name);
        const bool done = file.open(QIODevice::WriteOnly)
                          && write(file, static_cast<const ep::SxImageInfo*>(&image), sizeof(ep::SxImageInfo))
                          && write(file, image.data, dumpedBytes(image)) && file.flush();
        if (!done)
            setError(ep::ExFileError::Unwritable, file.errorString());
        return done;
    }
    void setFileName(const QString& name) override { m_name = name; }
    QString fileName() const override { return m_name; }
    void setOptions(const QMap<QString, QVariant>&) override {}
    QList<QPair<QString, int>> formats() const override { return dumpFormat(); }

protected:
    bool fail(ep::ExFileError kind, const QString& reason)
    {
        setError(kind, reason);
        return false;
    }

private:
    static bool write(QFile& file, const void* bytes, qint64 count)
    {
        return file.write(static_cast<const char*>(bytes), count) == count;
    }

    QString m_name;
};

/** Registers a loader class. */
template <typename Loader>
void registerLoader()
{
    ep::CxRtti::instance()->registerClass(nullptr, Loader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
}

/** Registers a saver class. */
template <typename Saver>
void registerSaver()
{
    ep::CxRtti::instance()->registerClass(nullptr, Saver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
}

}  // namespace testing
