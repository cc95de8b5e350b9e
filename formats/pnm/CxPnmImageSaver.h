/**
 * @file
 * Writing portable maps.
 */
#pragma once

#include <ep/IxImageDataSaver.h>

class QIODevice;

namespace ep {
namespace pnm {

/**
 * Writes 8- and 16-bit unsigned images and float ones, packed and planar, as the kind of portable map that the file's
 * suffix names; see choosePnmHeader(). What such a file cannot hold to the last bit is refused, with the reason.
 *
 * The grid and the metadata go into comments, from which CxPnmImageLoader brings them back. Float maps know no
 * comments, and hold the samples alone.
 *
 * Options: "ascii" (true writes the samples as text, default false).
 */
class CxPnmImageSaver : public IxImageDataSaver {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Portable Map Image Saver")
public:
    Q_INVOKABLE CxPnmImageSaver();

    QList<QPair<QString, int>> formats() const override;
    void setFileName(const QString& name) override;
    QString fileName() const override;
    bool supportsSaveToBuffer() const override;
    bool saveToBuffer(const IxData* data, QByteArray& content) override;
    void setOptions(const QMap<QString, QVariant>& options) override;
    bool acceptsInterleavedChannels() const override;
    bool saveImage(const IxData* data) override;
    QMap<QString, QVariant> defaultOptions() const override;

private:
    QString m_fileName;
    QMap<QString, QVariant> m_options;
};

}  // namespace pnm
}  // namespace ep
