/**
 * @file
 * Mosaics as DNG files.
 */
#pragma once

#include <ep/IxImageDataSaver.h>

namespace ep {
namespace tiff {

/**
 * Writes a one-channel mosaic as a DNG file that RAW developers open.
 *
 * Options: "compression" ("none" or "deflate", default "none").
 */
class CxDngImageSaver : public IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "DNG Image Saver")
public:
    Q_INVOKABLE CxDngImageSaver();

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

}  // namespace tiff
}  // namespace ep
