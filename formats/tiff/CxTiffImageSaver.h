/**
 * @file
 * Writing TIFF files.
 */
#pragma once

#include <ep/IxImageDataSaver.h>

namespace ep {
namespace tiff {

/**
 * Writes images of every sample type but complex numbers as TIFF files: packed ones contiguous, planar ones as separate
 * planes, colours red first. The metadata goes into the image description, so that CxTiffImageLoader brings all of it
 * back, and as far as TIFF and Exif know it also into their tags.
 *
 * Options: "compression" ("none", "deflate" or "lzw", default "none"); "bigtiff" (true always writes BigTIFF, which
 * otherwise only images near 4 GB and above get).
 */
class CxTiffImageSaver : public IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "TIFF Image Saver")
public:
    Q_INVOKABLE CxTiffImageSaver();

    QList<QPair<QString, int>> formats() const override;
    void setFileName(const QString& name) override;
    QString fileName() const override;
    void setOptions(const QMap<QString, QVariant>& options) override;
    bool acceptsInterleavedChannels() const override;
    bool saveImage(const IxData* data) override;
    QMap<QString, QVariant> defaultOptions() const override;

private:
    QString m_fileName;
    QMap<QString, QVariant> m_options;
};

}  // namespace tiff
}  // namespace ep
