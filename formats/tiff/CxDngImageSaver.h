/**
 * @file
 * Mosaics as DNG files.
 */
#pragma once

#include <ep/IxImageDataSaver.h>

namespace ep {
namespace tiff {

/**
 * Writes a mosaic of 8- or 16-bit samples, of one of the four Bayer grids or with an X-Trans cell, as a DNG file.
 *
 * Options: "compression" ("none" or "deflate", default "none"). Every RAW developer opens plain files. DNG knows
 * deflate for floating-point samples only, so a deflated file holds the samples as whole floats; CxDngImageLoader makes
 * integers of them again. LibRaw opens such files where it was built with zlib, which Debian's is not.
 */
class CxDngImageSaver : public IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "DNG Image Saver")
public:
    Q_INVOKABLE CxDngImageSaver();

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
