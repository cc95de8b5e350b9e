/**
 * @file
 * Reading the formats of OpenImageIO.
 */
#pragma once

#include <ep/IxImageDataLoader.h>

#include <memory>

namespace ep {
namespace oiio {

/**
 * Reads PNG, JPEG, OpenEXR and every other format that OpenImageIO reads and that has no plug-in of its own. The suffix
 * names the format. Each subimage (icon, layer, page of an animation) is a frame.
 *
 * Samples come out packed, as the numbers that stand in the file; half floats become floats. Where OpenImageIO scales
 * samples of fewer bits up to a whole type, that is undone and bitDepth is the file's. Nothing is premultiplied,
 * rotated or converted to another colour space: what the file says of that is in the metadata.
 *
 * open() decodes the first frame, so a damaged or truncated file is never open. No option is understood.
 */
class CxOiioImageLoader : public IxImageDataLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "OpenImageIO Image Loader")
public:
    Q_INVOKABLE CxOiioImageLoader();
    ~CxOiioImageLoader() override;

    bool open() override;
    bool isOpen() const override;
    void close() override;
    int frameCount() const override;
    QString frameName(int frame) override;
    QString fileName() const override;
    void setFileName(const QString& name) override;
    QList<QPair<QString, int>> formats() const override;
    CxImageData* imageData(int frame) override;

private:
    struct Source;

    QString m_fileName;
    std::unique_ptr<Source> m_source;  // null: closed
};

}  // namespace oiio
}  // namespace ep
