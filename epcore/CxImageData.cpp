#include <ep/CxImageData.h>

#include <ep/AllocAndCopyBuffer.h>
#include <ep/AllocBuffer.h>
#include <ep/ExStatus.h>

#include <memory>
#include <new>
#include <utility>

namespace ep {

CxImageData::CxImageData(QObject* parent) : IxData(parent), m_image(emptyImage()) {}

CxImageData::~CxImageData()
{
    FreeBuffer(m_image);
}

IxData* CxImageData::clone(int) const
{
    try {
        auto copy = std::make_unique<CxImageData>();
        SxImageBuf image = m_image;
        if (m_image.data && failed(AllocAndCopyBuffer(m_image, image)))
            return nullptr;
        copy->setImageShallow(image, frame(), timestamp(), dateTime());
        copy->setMetadata(m_metadata);
        return copy.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void CxImageData::setImageShallow(const SxImageBuf& image, int frame, qint64 timestamp, const QDateTime& dateTime)
{
    const SxImageBuf taken = image;  // the argument may be this object's own image
    if (m_image.data != taken.data)
        FreeBuffer(m_image);
    m_image = taken;
    setFrame(frame);
    setTimestamp(timestamp);
    setDateTime(dateTime);
}

SxImageBuf CxImageData::takeImage()
{
    return std::exchange(m_image, emptyImage());
}

void CxImageData::setMetadata(const CxMetadata& metadata)
{
    m_metadata = metadata;
}

void CxImageData::setMetadata(CxMetadata&& metadata)
{
    m_metadata = std::move(metadata);
}

}  // namespace ep
