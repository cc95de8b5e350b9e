#include "GifHeader.h"

#include <QFile>
#include <QVector>
#include <QtEndian>

#include <algorithm>
#include <memory>

#include <gif_lib.h>

namespace ep {
namespace oiio {
namespace {

constexpr qint64 mostPixels = qint64(1) << 27;  // a second's work

struct CloseGif {
    void operator()(GifFileType* gif) const
    {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};

/** Passes over an extension. False when the file is damaged. */
bool skipExtension(GifFileType* gif)
{
    int code = 0;
    GifByteType* block = nullptr;
    bool isSound = DGifGetExtension(gif, &code, &block) == GIF_OK;
    while (isSound && block)
        isSound = DGifGetExtensionNext(gif, &block) == GIF_OK;
    return isSound;
}

/** Reads the lines of a frame. What the library notices itself is no flaw here: the reader notices it, too. */
QString frameFlaw(GifFileType* gif, bool& isSound)
{
    const ColorMapObject* colors = gif->Image.ColorMap ? gif->Image.ColorMap : gif->SColorMap;
    const int colorCount = colors ? colors->ColorCount : 0;
    QVector<GifPixelType> line(std::max(0, gif->Image.Width));
    for (int y = 0; isSound && y < gif->Image.Height; ++y) {
        isSound = DGifGetLine(gif, line.data(), line.size()) == GIF_OK;
        if (isSound && std::any_of(line.cbegin(), line.cend(), [&](int pixel) { return pixel >= colorCount; }))
            return QStringLiteral("some of its samples have no colour");
    }
    return QString();
}

}  // namespace

QString gifFlaw(const QString& path)
{
    int error = 0;
    const std::unique_ptr<GifFileType, CloseGif> gif(DGifOpenFileName(QFile::encodeName(path).constData(), &error));
    qint64 pixels = 0;
    bool isSound = gif != nullptr;
    while (isSound) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        isSound = DGifGetRecordType(gif.get(), &record) == GIF_OK && record != TERMINATE_RECORD_TYPE;
        if (isSound && record == EXTENSION_RECORD_TYPE)
            isSound = skipExtension(gif.get());
        if (!isSound || record != IMAGE_DESC_RECORD_TYPE)
            continue;
        isSound = DGifGetImageDesc(gif.get()) == GIF_OK;
        pixels += isSound ? qint64(gif->Image.Width) * gif->Image.Height : 0;
        if (pixels > mostPixels)
            return QStringLiteral("its frames have more than %1 pixels in all").arg(mostPixels);
        const QString flaw = isSound ? frameFlaw(gif.get(), isSound) : QString();
        if (!flaw.isEmpty())
            return flaw;
    }
    return QString();
}

qint64 gifScreenBytes(const QString& path)
{
    constexpr int widthAt = 6, heightAt = 8, headerBytes = 10, bytesPerPixel = 4;
    QFile file(path);
    const QByteArray header = file.open(QIODevice::ReadOnly) ? file.read(headerBytes) : QByteArray();
    if (header.size() < headerBytes)
        return 0;
    return qint64(qFromLittleEndian<quint16>(header.constData() + widthAt))
           * qFromLittleEndian<quint16>(header.constData() + heightAt) * bytesPerPixel;
}

}  // namespace oiio
}  // namespace ep
