/**
 * @file
 * Reading FITS files.
 */
#pragma once

#include <ep/CxImageData.h>
#include <ep/IxImageDataLoader.h>

#include <memory>

namespace ep {
namespace fits {

/**
 * Reads the first image of a FITS file, plain or as compressed tiles: a table of samples is one channel, a cube one
 * channel per plane. Samples come out in the type that the file names, integers and floats to the last bit, unsigned
 * and signed ones as FITS shifts them; under any other scale they are computed as doubles, and the attributes BSCALE
 * and BZERO say so. The image is upright: files begin with the bottom row unless ROWORDER says otherwise.
 *
 * open() reads the samples, so a damaged or truncated file is never open. No option is understood.
 */
class CxFitsImageLoader : public IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "FITS Image Loader")
public:
    Q_INVOKABLE CxFitsImageLoader();
    ~CxFitsImageLoader() override;

    bool open() override;
    bool isOpen() const override;
    void close() override;
    int frameCount() const override;
    QString fileName() const override;
    void setFileName(const QString& name) override;
    QList<QPair<QString, int>> formats() const override;
    CxImageData* imageData(int frame) override;

private:
    std::unique_ptr<CxImageData> read();

    QString m_fileName;
    bool m_isOpen = false;
    std::unique_ptr<CxImageData> m_ready;  // read by open() and not handed out yet
};

}  // namespace fits
}  // namespace ep
