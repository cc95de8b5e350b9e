/**
 * @file
 * Images as MAT files.
 */
#pragma once

#include <orn/Export.h>

#include <ep/IxImageDataSaver.h>

namespace orn {
namespace matlab {

/**
 * Writes one image with its metadata as a MAT file: the planes of AddImage(), then the metadata as the text variable
 * "ep_image_metadata".
 *
 * Options: "matname" (string, default "ep_image"), the base name of the planes; "reverse_rows" (bool, default true),
 * the bottom row first.
 */
class ORN_EXPORT CxMatlabImageSaver : public ep::IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Matlab Image Saver")
public:
    Q_INVOKABLE CxMatlabImageSaver();
    ~CxMatlabImageSaver() override;

    QList<QPair<QString, int>> formats() const override;
    void setFileName(const QString& name) override;
    QString fileName() const override;
    void setOptions(const QMap<QString, QVariant>& options) override;
    bool acceptsInterleavedChannels() const override;
    bool saveImage(const ep::IxData* data) override;
    QMap<QString, QVariant> defaultOptions() const override;

private:
    QString m_fileName;
    QMap<QString, QVariant> m_options;
};

}  // namespace matlab
}  // namespace orn
