// Saves a MAT file with text outside ASCII, in the metadata and as a variable, to the path given as the argument.

#include <orn/Init.h>
#include <orn/matlab/CxMatlabImageSaver.h>
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

bool saveImage(const QString& path)
{
    ep::CxScopedBuffer image;
    image->width = 7;
    image->height = 5;
    image->channels = 1;
    image->bitDepth = 16;
    image->dataType = ep::DataTypeUInt16;
    image->bayerGrid = ep::BayerGridRGGB;
    if (ep::failed(image.allocate(true)))
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

}  // namespace

int main(int argc, char** argv)
{
    orn::Init();
    const QString path = argc == 2 ? QFile::decodeName(argv[1]) : QString();
    return !path.isEmpty() && saveImage(path) && saveText(path) && saveImage(path) ? 0 : 1;
}
