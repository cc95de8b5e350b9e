#include "CxRawImageLoader.h"

#include "RawCell.h"
#include "RawFile.h"
#include "ReadRawMetadata.h"
#include "ReadRawSamples.h"

#include <dng/DngPacket.h>

namespace ep {
namespace raw {
namespace {

/** Puts the metadata and, where this system wrote the file, the type and depth that it was saved with in place. */
bool complete(RawFile& file, const RawCell& cell, CxScopedBuffer& image, CxMetadata& metadata)
{
    std::unique_ptr<CxCommonImageMetadata> common = readRawMetadata(file, cell, image.image());
    dng::DngPacket packet;
    const bool isOurs = dng::readDngPacket(file.xmp(), packet) && dng::belongsTo(packet, image.image());
    if (isOurs && !dng::restoreSamples(packet, image))
        return false;
    common->colorBitDepth = image->bitDepth;
    if (isOurs)
        metadata = dng::restoreMetadata(packet, *common);
    else
        metadata.addMetadata(common.release());
    return true;
}

}  // namespace

CxRawImageLoader::CxRawImageLoader() = default;

bool CxRawImageLoader::open()
{
    close();
    setError(ExFileError::None);
    SxFileError error;
    RawFile file;
    CxScopedBuffer image;
    CxMetadata metadata;
    RawCell cell;
    if (file.open(m_fileName, memoryLimit(), error)) {
        cell = findRawCell(file);
        if (readRawSamples(file, cell, image, error) && !complete(file, cell, image, metadata))
            error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
    }
    if (error) {
        setError(error.kind, error.reason);
        return false;
    }
    m_data = std::make_unique<CxImageData>();
    m_data->setImageShallow(image.take(), 0, 0, QDateTime::currentDateTime());
    m_data->setMetadata(std::move(metadata));
    return true;
}

bool CxRawImageLoader::isOpen() const
{
    return m_data != nullptr;
}

void CxRawImageLoader::close()
{
    m_data.reset();
}

int CxRawImageLoader::frameCount() const
{
    return isOpen() ? 1 : 0;
}

QString CxRawImageLoader::fileName() const
{
    return m_fileName;
}

void CxRawImageLoader::setFileName(const QString& name)
{
    m_fileName = name;
}

QList<QPair<QString, int>> CxRawImageLoader::formats() const
{
    return {{QStringLiteral("Camera RAW image (*.dng *.3fr *.ari *.arw *.bay *.cap *.cr2 *.cr3 *.crw *.dc2 *.dcr *.dcs "
                            "*.drf *.eip *.erf *.fff *.gpr *.iiq *.k25 *.kc2 *.kdc *.mdc *.mef *.mos *.mrw *.nef *.nrw "
                            "*.obm *.orf *.ori *.pef *.ptx *.pxn *.qtk *.raf *.raw *.rdc *.rw2 *.rwl *.rwz *.sr2 *.srf "
                            "*.srw *.sti *.x3f)"),
             20}};
}

CxImageData* CxRawImageLoader::imageData(int frame)
{
    return m_data && frame == 0 ? static_cast<CxImageData*>(m_data->clone(0)) : nullptr;
}

bool CxRawImageLoader::hasRandomAccess() const
{
    return true;
}

}  // namespace raw
}  // namespace ep
