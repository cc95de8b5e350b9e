// Saves MAT files with text outside ASCII, in the metadata and as a variable, to the path given as the argument, and
// loads them again.

#include <orn/Init.h>
#include <orn/matlab/AddImage.h>
#include <orn/matlab/CxMatlabImageSaver.h>
#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <QFile>

namespace {

QString text()
{
    return QStringLiteral("Größe 相機 📷");
}

bool makeImage(ep::CxScopedBuffer& image)
{
    image->width = 7;
    image->height = 5;
    image->channels = 1;
    image->bitDepth = 16;
    image->dataType = ep::DataTypeUInt16;
    image->bayerGrid = ep::BayerGridRGGB;
    return !ep::failed(image.allocate(true));
}

bool saveImage(const QString& path)
{
    ep::CxScopedBuffer image;
    if (!makeImage(image))
        return false;
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = text();
    common->attributes.insert(text(), text());
    ep::CxMetadata metadata;
    metadata.addMetadata(common);
    ep::CxImageData data;
    data.setImageShallow(image.take(), 0, 0, QDateTime());
    data.setMetadata(std::move(metadata));
    orn::matlab::CxMatlabImageSaver saver;
    saver.setFileName(path);
    return saver.saveImage(&data) && !saver.lastError();
}

bool saveText(const QString& path)
{
    void* mat = orn::matlab::MatOpenWrite(path);
    bool saved = mat != nullptr;
    for (int length = 0; saved && length <= text().size(); ++length)
        saved = orn::matlab::AddVar(mat, text().left(length), QStringLiteral("text%1").arg(length));
    return orn::matlab::MatClose(mat) && saved;
}

// Metadata that is not kept to ASCII, as other programs may leave it.
bool saveUnescaped(const QString& path)
{
    ep::CxScopedBuffer image;
    ep::SxImageInfo written{};
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = QStringLiteral("MAKE");
    ep::CxMetadata metadata;
    metadata.addMetadata(common);
    void* mat = orn::matlab::MatOpenWrite(path);
    const QString xml = metadata.saveToXml(-1).replace(QStringLiteral("MAKE"), text());
    const bool saved = mat && makeImage(image)
                       && orn::matlab::AddImage(mat, image.image(), QStringLiteral("ep_image"), true, written, false)
                       && orn::matlab::AddVar(mat, xml, QStringLiteral("ep_image_metadata"));
    return orn::matlab::MatClose(mat) && saved;
}

bool loadImage(const QString& path)
{
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    bool isEntropy = false;
    const bool loaded = orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, &metadata);
    const auto* common =
        static_cast<const ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    return loaded && common && common->cameraMake == text();
}

}  // namespace

int main(int argc, char** argv)
{
    orn::Init();
    const QString path = argc == 2 ? QFile::decodeName(argv[1]) : QString();
    const bool isDone = !path.isEmpty() && saveText(path) && saveUnescaped(path) && loadImage(path) && saveImage(path)
                        && loadImage(path);
    return isDone ? 0 : 1;
}
