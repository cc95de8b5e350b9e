#include <orn/FileImageLoader.h>

#include "ReadTextImage.h"

#include <orn/LoadImageFromFile.h>
#include <orn/matlab/LoadImageFromMat.h>

#include <ep/AllocBuffer.h>

#include <QFile>
#include <QFileInfo>

#include <new>

namespace orn {

namespace {

bool readMatImage(const QString& fileName, ep::SxImageBuf& image)
{
    bool isEntropy = false;
    if (matlab::LoadImageFromMat(fileName, image, isEntropy, nullptr))
        return true;
    ep::FreeBuffer(image);
    return false;
}

bool readImage(const QString& fileName, ep::SxImageBuf& image)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix == QLatin1String("txt"))
        return readTextImage(fileName, image);
    if (suffix == QLatin1String("mat"))
        return readMatImage(fileName, image);
    return LoadImageFromFile(fileName, image, nullptr);
}

}  // namespace

FileImageLoader::FileImageLoader() = default;

FileImageLoader::~FileImageLoader() = default;

bool FileImageLoader::loadImage(QMap<QString, QVariant> parameters, ep::SxImageBuf& image, QString* errorMessage)
try {
    const auto fail = [errorMessage](const QString& message) {
        if (errorMessage)
            *errorMessage = message;
        return false;
    };
    const auto parameter = parameters.constFind(QStringLiteral("filename"));
    if (parameter == parameters.constEnd())
        return fail(tr("File name is not specified."));
    const QString fileName = parameter->toString();
    if (!QFile::exists(fileName))
        return fail(tr("Filename %1 does not exist.").arg(fileName));
    return readImage(fileName, image) || fail(tr("Cannot load the %1.").arg(fileName));
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace orn
