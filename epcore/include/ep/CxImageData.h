/**
 * @file
 * An image with its metadata, as loaders and savers exchange it.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/IxData.h>
#include <ep/SxImageBuf.h>

namespace ep {

/** Owns an image and its metadata. Not thread-safe. */
class EP_EXPORT CxImageData : public IxData {
    Q_OBJECT
public:
    Q_INVOKABLE explicit CxImageData(QObject* parent = nullptr);
    ~CxImageData() override;

    IxData* clone(int flags) const override;

    /** The image; its storage stays this object's. */
    const SxImageBuf& image() const { return m_image; }
    /**
     * Takes the storage of @p image over without copying: this object will release it with FreeBuffer(), the caller no
     * longer does. The image held before is released.
     */
    void setImageShallow(const SxImageBuf& image, int frame, qint64 timestamp, const QDateTime& dateTime);
    /** Gives the image away: the caller owns its storage, this object is left without one. */
    SxImageBuf takeImage();

    const CxMetadata& metadata() const { return m_metadata; }  ///< the metadata
    void setMetadata(const CxMetadata& metadata);              ///< replaces the metadata by a deep copy
    void setMetadata(CxMetadata&& metadata);                   ///< replaces the metadata, taking the items over

private:
    SxImageBuf m_image;
    CxMetadata m_metadata;
};

}  // namespace ep
