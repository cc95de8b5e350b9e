/**
 * @file
 * Camera RAW files as untouched mosaics.
 */
#pragma once

#include <ep/CxImageData.h>
#include <ep/IxImageDataLoader.h>

#include <memory>

namespace ep {
namespace raw {

/**
 * Reads the visible area of a camera's sensor as a one-channel mosaic of unsigned 16-bit samples, as they stand in the
 * file (a curve that the file stores them through is undone): no black level is subtracted, no colour computed, no
 * defect mended. DNG files written by this system come back with the sample type they were saved with.
 *
 * Files whose samples are not those of a mosaic any more, and DNG files that are deflated or in plain tiles, are left
 * to other loaders.
 */
class CxRawImageLoader : public IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Camera RAW Image Loader")
public:
    Q_INVOKABLE CxRawImageLoader();

    bool open() override;
    bool isOpen() const override;
    void close() override;
    int frameCount() const override;
    QString fileName() const override;
    void setFileName(const QString& name) override;
    QList<QPair<QString, int>> formats() const override;
    CxImageData* imageData(int frame) override;
    bool hasRandomAccess() const override;

private:
    QString m_fileName;
    std::unique_ptr<CxImageData> m_data;
};

}  // namespace raw
}  // namespace ep
