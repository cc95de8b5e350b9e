/**
 * @file
 * Reading portable maps.
 */
#pragma once

#include <ep/CxImageData.h>
#include <ep/IxImageDataLoader.h>

#include <memory>

class QIODevice;

namespace ep {
namespace pnm {

/**
 * Reads PBM, PGM, PPM, PAM and PFM files, in text and binary, told apart by their first bytes and not by their suffix.
 *
 * Samples come out as the numbers that stand in the file, packed, as 8-bit integers when the announced largest sample
 * is below 256, else as 16-bit ones; bitDepth is the width of that largest sample. Bits of a bitmap become 1 (black)
 * and 0 (white). Float maps come out with the top row first and without their unit. A file with a sample past the
 * announced largest one is damaged. Bytes after the image, also further images, are passed over.
 *
 * A grid and metadata that CxPnmImageSaver left in the comments are taken up; see metadataOf(). open() reads the
 * samples, so a damaged or truncated file is never open. No option is understood.
 */
class CxPnmImageLoader : public IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Portable Map Image Loader")
public:
    Q_INVOKABLE CxPnmImageLoader();
    ~CxPnmImageLoader() override;

    bool open() override;
    bool isOpen() const override;
    void close() override;
    int frameCount() const override;
    QString fileName() const override;
    void setFileName(const QString& name) override;
    bool setBuffer(const QByteArray& content, const QString& name) override;
    bool supportsLoadFromBuffer() const override;
    QList<QPair<QString, int>> formats() const override;
    CxImageData* imageData(int frame) override;

private:
    std::unique_ptr<CxImageData> read();
    std::unique_ptr<CxImageData> readFrom(QIODevice& device);

    QString m_fileName;
    QByteArray m_content;
    bool m_readsContent = false;
    bool m_isOpen = false;
    std::unique_ptr<CxImageData> m_ready;  // read by open() and not handed out yet
};

}  // namespace pnm
}  // namespace ep
