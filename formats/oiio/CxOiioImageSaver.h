/**
 * @file
 * Writing the formats of OpenImageIO.
 */
#pragma once

#include <ep/IxImageDataSaver.h>

namespace ep {
namespace oiio {

/**
 * Writes PNG, JPEG, OpenEXR and every other format that OpenImageIO writes and that has no plug-in of its own. The
 * suffix names the format. An image whose samples would not come back in their own type is refused.
 *
 * The formats that lose samples by their nature (JPEG, WebP, HEIF, GIF, Radiance HDR) are written as they are; then the
 * dynamic property "lossy" is true after saveImage().
 *
 * Options: "quality" (1 to 100, default 95) of the lossy ones.
 */
class CxOiioImageSaver : public IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "OpenImageIO Image Saver")
public:
    Q_INVOKABLE CxOiioImageSaver();

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

}  // namespace oiio
}  // namespace ep
