#include "ReadOiioSamples.h"

#include "FileHeader.h"
#include "OiioFormat.h"
#include "OiioGuard.h"
#include "UndoScaling.h"

#include <ep/ExStatus.h>
#include <ep/internal/MemoryLimit.h>

#include <QFileInfo>

#include <algorithm>
#include <limits>

namespace ep {
namespace oiio {
namespace {

using internal::CheckedSize;

SxFileError unsupported(const QString& reason)
{
    return {ExFileError::Unsupported, reason};
}

/** The sample type for a type of OpenImageIO; DataTypeNone when there is none. */
ExImageDataType sampleType(OIIO::TypeDesc type)
{
    if (type == OIIO::TypeDesc::HALF)
        return DataTypeFloat;
    for (int code = DataTypeInt8; code <= DataTypeUInt64; ++code)
        if (code != DataTypeComplex && type == OIIO::TypeDesc(sampleFacts(code).name))
            return static_cast<ExImageDataType>(code);
    return DataTypeNone;
}

/** The type of the samples of all channels. Floats of several widths become the widest; nothing else may be mixed. */
ExImageDataType commonType(const OIIO::ImageSpec& spec)
{
    ExImageDataType widest = DataTypeNone;
    for (int channel = 0; channel < spec.nchannels; ++channel) {
        const ExImageDataType type = sampleType(spec.channelformat(channel));
        const bool isMixed = channel > 0 && type != widest;
        if (isMixed && (!sampleFacts(type).isFloat || !sampleFacts(widest).isFloat))
            return DataTypeNone;
        widest = std::max(widest, type);
    }
    return widest;
}

/** Why the samples that OpenImageIO gives are not those of the file, where that is known; else empty. */
QString distortion(const OiioFormat& format, const OIIO::ImageSpec& spec)
{
    if (format.is("webp") && spec.alpha_channel >= 0)
        return QStringLiteral("OpenImageIO would multiply its colours by their opacity");
    const OIIO::string_view jpegColors = spec.get_string_attribute("jpeg:ColorSpace");
    if (format.is("jpeg") && (jpegColors == "CMYK" || jpegColors == "YCbCrK"))
        return QStringLiteral("OpenImageIO would convert its four inks to three colours");
    if (format.is("dicom") && spec.get_string_attribute("dicom:PhotometricInterpretation") == "MONOCHROME1")
        return QStringLiteral("its samples count darkness, and OpenImageIO would turn them around");
    if (format.is("dicom") && spec.format.is_signed())
        return QStringLiteral("OpenImageIO would shift its signed or rescaled samples");
    return QString();
}

SxFileError describe(const OIIO::ImageSpec& spec, const OiioFormat& format, SxImageInfo& info)
{
    if (spec.deep)
        return unsupported(QStringLiteral("it is a deep image, with any number of samples per pixel"));
    if (spec.depth > 1)
        return unsupported(QStringLiteral("it is a volume of %1 layers, not an image").arg(spec.depth));
    if (spec.width < 1 || spec.height < 1 || spec.nchannels < 1)
        return {ExFileError::Unreadable, QStringLiteral("its header says that the image is empty")};
    const QString reason = distortion(format, spec);
    if (!reason.isEmpty())
        return unsupported(reason);
    info = emptyImage();
    info.dataType = commonType(spec);
    if (info.dataType == DataTypeNone)
        return unsupported(QStringLiteral("its sample type, or its mixture of types, is not served"));
    info.width = spec.width;
    info.height = spec.height;
    info.channels = spec.nchannels;
    info.bitDepth = sampleFacts(info.dataType).bits;
    return {};
}

SxFileError checkSize(const SxImageInfo& info, qint64 fileBytes, qint64 memoryLimit)
{
    // What no compressed picture of real content comes near to; small images may say what they like.
    constexpr qint64 mostExpansion = 4096;
    constexpr qint64 alwaysFine = 256 << 20;
    const CheckedSize rowBytes = CheckedSize(info.width) * info.channels * sampleFacts(info.dataType).bytes;
    const CheckedSize bytes = rowBytes * info.height;
    if (!bytes.fits(memoryLimit))
        return internal::pastMemoryLimit(bytes, memoryLimit);
    if (!rowBytes.fits(std::numeric_limits<qint32>::max()))
        return {ExFileError::TooLarge, QStringLiteral("a row of its image takes more bytes than an image can have")};
    if (!bytes.fits(std::max(alwaysFine, (CheckedSize(fileBytes) * mostExpansion).value())))
        return {ExFileError::Unreadable, QStringLiteral("the file is too short for its samples")};
    return {};
}

int statedBits(const OIIO::ImageSpec& spec, const OiioFormat& format, const QString& path)
{
    const int bits = spec.get_int_attribute("oiio:BitsPerSample", 0);
    return bits == 0 && format.is("png") ? pngGrayBits(path) : bits;
}

/** The type to ask for, so that the samples come out as those of @p info. */
OIIO::TypeDesc wantedType(const OIIO::ImageSpec& spec, const SxImageInfo& info)
{
    const OIIO::TypeDesc type(sampleFacts(info.dataType).name);
    // The name of the file's own type stands for it, but the library then goes through a buffer of 64 MiB of its own,
    // of which rows that a reader leaves out are what memory held. Asked for no conversion, it reads into zeroed
    // memory.
    return spec.channelformats.empty() && spec.format == type ? OIIO::TypeDesc(OIIO::TypeDesc::UNKNOWN) : type;
}

}  // namespace

SxFileError readOiioSamples(OIIO::ImageInput& input, const OiioFormat& format, const QString& path, qint64 memoryLimit,
                            CxScopedBuffer& image)
{
    const OIIO::ImageSpec& spec = input.spec();
    SxImageInfo info;
    SxFileError error = describe(spec, format, info);
    if (!error)
        error = checkSize(info, QFileInfo(path).size(), memoryLimit);
    if (error)
        return error;
    image = CxScopedBuffer(info);
    if (failed(image.allocate(true)))
        return {ExFileError::TooLarge, QStringLiteral("there is not enough memory for its image")};
    const bool isRead = input.read_image(input.current_subimage(), 0, 0, info.channels, wantedType(spec, info),
                                         image->data, OIIO::AutoStride, image->stride);
    // Some readers fill up what is missing and leave no more than a complaint.
    if (!isRead || input.has_error()) {
        const QString reason = clause(input.geterror(), path);
        return {ExFileError::Unreadable,
                reason.isEmpty() ? QStringLiteral("its samples are damaged or missing") : reason};
    }
    undoScaling(image.image(), statedBits(spec, format, path));
    return {};
}

}  // namespace oiio
}  // namespace ep
