/**
 * @file
 * MAT files as an image source.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxImageData.h>
#include <ep/IxImageDataLoader.h>

#include <memory>

namespace orn {
namespace matlab {

/**
 * Reads a MAT file as one image. The whole image is read by open(), which always returns true: isOpen() tells whether
 * there is one, and lastError() why not. A failed open() keeps what was loaded before. Entropy images of three and four
 * planes are handed out packed and as a mosaic.
 */
class ORN_EXPORT CxMatlabImageLoader : public ep::IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Matlab Image Loader")
public:
    Q_INVOKABLE CxMatlabImageLoader();
    ~CxMatlabImageLoader() override;

    bool open() override;
    bool isOpen() const override;
    void close() override;
    int frameCount() const override;
    QString fileName() const override;
    void setFileName(const QString& name) override;
    QList<QPair<QString, int>> formats() const override;
    ep::CxImageData* imageData(int frame) override;
    double frameRate() const override;
    bool hasRandomAccess() const override;

private:
    QString m_fileName;
    std::unique_ptr<ep::CxImageData> m_imageData;
};

}  // namespace matlab
}  // namespace orn
