/**
 * @file
 * DNG files that LibRaw passes over.
 */
#pragma once

#include <ep/CxImageData.h>
#include <ep/IxImageDataLoader.h>

#include <memory>

namespace ep {
namespace tiff {

/**
 * Reads the mosaic of a DNG file through libtiff: deflated ones, which LibRaw reads only where it was built with zlib,
 * and plain tiles. The mosaic must stand in a main directory of the file, as CxDngImageSaver writes it, and not behind
 * a linearization table. Only the active area is handed out. It is asked after the RAW loader.
 */
class CxDngImageLoader : public IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "DNG Image Loader")
public:
    Q_INVOKABLE CxDngImageLoader();

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

}  // namespace tiff
}  // namespace ep
