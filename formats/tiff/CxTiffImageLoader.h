/**
 * @file
 * Reading TIFF files.
 */
#pragma once

#include <ep/IxImageDataLoader.h>

#include <memory>

namespace ep {
namespace tiff {

/**
 * Reads TIFF and BigTIFF files; each page is a frame. Samples come out as the numbers that stand in the file: integers
 * of up to 32 bits in the next larger sample type with their true depth, 64-bit integers, floats; half floats become
 * floats. Contiguous samples give a packed image, separate planes a planar one. Palette images give their indices.
 *
 * open() decodes the first page, so a damaged or truncated one is never open. No option is understood.
 */
class CxTiffImageLoader : public IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "TIFF Image Loader")
public:
    Q_INVOKABLE CxTiffImageLoader();
    ~CxTiffImageLoader() override;

    bool open() override;
    bool isOpen() const override;
    void close() override;
    int frameCount() const override;
    QString frameName(int frame) override;
    QString fileName() const override;
    void setFileName(const QString& name) override;
    QList<QPair<QString, int>> formats() const override;
    CxImageData* imageData(int frame) override;
    bool hasRandomAccess() const override;

private:
    struct Source;

    QString m_fileName;
    std::unique_ptr<Source> m_source;  // null: closed
};

}  // namespace tiff
}  // namespace ep
