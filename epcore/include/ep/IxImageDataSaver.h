/**
 * @file
 * Base of everything that writes images to files.
 */
#pragma once

#include <ep/IxDataSaver.h>

namespace ep {

/** Writes images. Registered under "IxImageDataSaver". The order of the virtual functions is part of the interface. */
class EP_EXPORT IxImageDataSaver : public IxDataSaver {
    Q_OBJECT
public:
    explicit IxImageDataSaver(QObject* parent = nullptr);
    ~IxImageDataSaver() override;

    /** saveImage() for frame 0; a saver of stills has no other frame. */
    bool save(const IxData* data, int frame) override;

    /** Writes the image data object @p data with its metadata; false when it is none or the file could not be written.
     */
    virtual bool saveImage(const IxData* data) = 0;
    /** Sets the metadata that holds for the whole file; used by saveGlobalMetadata(). */
    virtual void setGlobalMetadata(const CxMetadata& metadata);
    /** Writes the metadata of frame @p frame apart from the image; by default to the side file of exportMetadata(). */
    virtual bool saveMetadata(const CxMetadata& metadata, int frame);
    /** Writes the metadata set by setGlobalMetadata(); by default to the side file. */
    virtual bool saveGlobalMetadata();
    /** The options that setOptions() understands, with their defaults. */
    virtual QMap<QString, QVariant> defaultOptions() const;

private:
    CxMetadata m_globalMetadata;
};

}  // namespace ep
