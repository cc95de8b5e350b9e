/**
 * @file
 * Files in a folder of their own, for tests of `orn convert`.
 */
#pragma once

#include "CameraImages.h"
#include "Program.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace testing {

/** An image with its metadata, as a file gave it. */
struct Loaded {
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
};

/** A temporary folder of images. */
class ImageFolder {
public:
    QString path(const QString& name) const { return m_folder.filePath(name); }
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    bool has(const char* name) const { return QFile::exists(path(name)); }
    /** The names of all files, hidden ones too. */
    QStringList names() const { return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    QByteArray bytes(const char* name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /** Saves @p image with what a camera says of it. */
    bool save(const QString& name, const ep::CxScopedBuffer& image) const
    {
        return save(name, image, cameraMetadata(image.image()));
    }
    bool save(const QString& name, const ep::CxScopedBuffer& image, const ep::CxMetadata& metadata) const
    {
        ep::SxFileError error;
        const bool saved = ep::CxImageFormatManager::saveImageToFile(path(name), image.image(), &metadata, nullptr,
                                                                     false, QString(), &error);
        if (!saved)
            qWarning("%s: %s", qPrintable(name), qPrintable(error.reason));
        return saved;
    }
    Loaded load(const QString& name) const
    {
        Loaded loaded;
        ep::SxFileError error;
        if (!ep::CxImageFormatManager::loadImageFromFile(path(name), loaded.image.image(), &loaded.metadata, nullptr,
                                                         &error))
            qWarning("%s: %s", qPrintable(name), qPrintable(error.reason));
        return loaded;
    }

    /** Runs `orn convert` on two files of the folder. */
    ProgramRun convert(const char* from, const char* to, const QStringList& options = {}) const
    {
        return runOrn(QStringList{QStringLiteral("convert")} + options + QStringList{path(from), path(to)});
    }

private:
    QTemporaryDir m_folder;
};

/** A packed photograph of three colours. */
inline ep::CxScopedBuffer photograph(ep::ExImageDataType type, int width, int height)
{
    return randomImage(describe(type, width, height, 3), 3);
}

/** True when a message like "orn: FILE: ...reason..." was said. */
inline bool saysOf(const ProgramRun& run, const QString& file, const char* reason)
{
    const QString start = QStringLiteral("orn: ") + file + QStringLiteral(": ");
    for (const QString& line : run.err.split(QLatin1Char('\n')))
        if (line.startsWith(start) && line.contains(QLatin1String(reason)))
            return true;
    return false;
}

}  // namespace testing
