#include "ChoosePnmHeader.h"

#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>

#include <limits>

namespace ep {
namespace pnm {
namespace {

bool refuse(SxFileError& error, const QString& reason)
{
    error = {ExFileError::Refused, reason};
    return false;
}

PnmKind kindByChannels(const SxImageInfo& image)
{
    const bool isOneOrThree = image.channels == 1 || image.channels == 3;
    if (isOneOrThree && image.dataType == DataTypeFloat)
        return PnmKind::FloatMap;
    return image.channels == 1 ? PnmKind::Graymap : image.channels == 3 ? PnmKind::Pixmap : PnmKind::Arbitrary;
}

bool chooseKind(const SxImageInfo& image, const QString& suffix, PnmKind& kind, SxFileError& error)
{
    const QString name = suffix.toLower();
    if (name == QLatin1String("pbm"))
        kind = PnmKind::Bitmap;
    else if (name == QLatin1String("pgm") || (name == QLatin1String("pnm") && image.channels == 1))
        kind = PnmKind::Graymap;
    else if (name == QLatin1String("ppm") || (name == QLatin1String("pnm") && image.channels == 3))
        kind = PnmKind::Pixmap;
    else if (name == QLatin1String("pam"))
        kind = PnmKind::Arbitrary;
    else if (name == QLatin1String("pfm"))
        kind = PnmKind::FloatMap;
    else if (name == QLatin1String("pnm"))
        return refuse(error, QStringLiteral("an anymap holds 1 or 3 channels and the image has %1; "
                                            "an arbitrary map (.pam) can hold them")
                                 .arg(image.channels));
    else
        kind = kindByChannels(image);
    return true;
}

bool checkType(const SxImageInfo& image, PnmKind kind, SxFileError& error)
{
    const bool isInteger = image.dataType == DataTypeUInt8 || image.dataType == DataTypeUInt16;
    const QString type = QLatin1String(sampleFacts(image.dataType).name);
    if (kind == PnmKind::Bitmap && image.dataType != DataTypeUInt8)
        return refuse(error, QStringLiteral("a bitmap holds samples of type uint8 and the image has %1").arg(type));
    if (kind == PnmKind::FloatMap && image.dataType != DataTypeFloat)
        return refuse(error, QStringLiteral("a float map holds samples of type float and the image has %1").arg(type));
    if (kind != PnmKind::FloatMap && !isInteger)
        return refuse(error, QStringLiteral("a portable map holds samples of type uint8 or uint16, a float map (.pfm) "
                                            "of type float, and the image has %1")
                                 .arg(type));
    return true;
}

bool checkChannels(qint32 channels, PnmKind kind, SxFileError& error)
{
    QString told;
    switch (kind) {
    case PnmKind::Bitmap:
    case PnmKind::Graymap: told = channels == 1 ? QString() : QStringLiteral("1 channel"); break;
    case PnmKind::Pixmap: told = channels == 3 ? QString() : QStringLiteral("3 channels"); break;
    case PnmKind::FloatMap:
        told = channels == 1 || channels == 3 ? QString() : QStringLiteral("1 or 3 channels");
        break;
    case PnmKind::Arbitrary:
        told = channels <= mostChannels ? QString() : QStringLiteral("up to 65535 channels");
        break;
    }
    if (told.isEmpty())
        return true;
    return refuse(error, QStringLiteral("such a file holds %1 and the image has %2").arg(told).arg(channels));
}

bool chooseMaxval(const SxImageBuf& image, PnmHeader& header, SxFileError& error)
{
    const qint32 typeBits = sampleFacts(image.dataType).bits;
    const qint32 fewestBits = typeBits == 16 ? 9 : 1;
    qint32 usedBits = 0;
    if (failed(DetectColorBitDepth(image, usedBits)))
        return refuse(error, QStringLiteral("the image is not sound"));
    if (header.kind == PnmKind::Bitmap && (image.bitDepth != 1 || usedBits != 1))
        return refuse(error, QStringLiteral("a bitmap holds samples of 1 bit and the image has samples of %1 bits")
                                 .arg(qMax(image.bitDepth, usedBits)));
    const bool isDepthTrue = image.bitDepth >= usedBits && image.bitDepth <= typeBits;
    const qint32 bits = isDepthTrue ? qMax(image.bitDepth, fewestBits) : typeBits;
    header.maxval = (1 << bits) - 1;
    return true;
}

}  // namespace

bool choosePnmHeader(const SxImageBuf& image, const QString& suffix, bool ascii, PnmHeader& header, SxFileError& error)
{
    header = PnmHeader();
    if (!internal::isSound(image))
        return refuse(error, QStringLiteral("there is no image to write"));
    if (!chooseKind(image, suffix, header.kind, error) || !checkType(image, header.kind, error)
        || !checkChannels(image.channels, header.kind, error))
        return false;
    if (ascii && (header.kind == PnmKind::Arbitrary || header.kind == PnmKind::FloatMap))
        return refuse(error, QStringLiteral("arbitrary maps and float maps have no form in text"));
    header.ascii = ascii;
    header.width = image.width;
    header.height = image.height;
    header.channels = image.channels;
    if (header.rowSamples() > std::numeric_limits<qint32>::max() / sampleFacts(image.dataType).bytes)
        return refuse(error, QStringLiteral("a row of it takes more than 2 GiB"));
    return header.kind == PnmKind::FloatMap || chooseMaxval(image, header, error);
}

}  // namespace pnm
}  // namespace ep
