/**
 * @file
 * Writing FITS files.
 */
#pragma once

#include <ep/IxImageDataSaver.h>

namespace ep {
namespace fits {

/**
 * Writes images of every sample type but complex numbers as FITS files: several channels as a cube of planes, the
 * bottom row first, which is stated. The header tells other programs what they know of the metadata, the grid and the
 * depth, and keeps all of it, so that CxFitsImageLoader brings it back identical.
 *
 * No option is understood.
 */
class CxFitsImageSaver : public IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "FITS Image Saver")
public:
    Q_INVOKABLE CxFitsImageSaver();

    QList<QPair<QString, int>> formats() const override;
    void setFileName(const QString& name) override;
    QString fileName() const override;
    void setOptions(const QMap<QString, QVariant>& options) override;
    bool acceptsInterleavedChannels() const override;
    bool saveImage(const IxData* data) override;

private:
    QString m_fileName;
};

}  // namespace fits
}  // namespace ep
