#include "WriteOiioImage.h"

#include "OiioFormat.h"
#include "OiioGuard.h"

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/CopyPlane.h>

#include <QFile>

#include <OpenImageIO/filesystem.h>

#include <limits>

namespace ep {
namespace oiio {
namespace {

using Bytes = std::vector<unsigned char>;

SxFileError unwritable(const QString& reason)
{
    return {ExFileError::Unwritable, reason};
}

/**
 * @p image with packed channels, colours red first, and a row of zeros after the last; false when there is no memory.
 */
bool packed(const SxImageBuf& image, CxScopedBuffer& copy)
{
    if (image.height == std::numeric_limits<qint32>::max())
        return false;
    copy = CxScopedBuffer(image);
    copy->height = image.height + 1;
    copy->layout = LayoutPacked;
    copy->formatCode = FormatCodeInOrder;
    copy->stride = 0;
    if (failed(copy.allocate(true)))
        return false;
    copy->height = image.height;
    internal::copyPlanes(sampleFacts(image.dataType).bytes, image.channels, [&](qint32 channel) {
        return internal::PlanePair{internal::planeView(image, ChannelIndexLogicalToPhysical(channel, image)),
                                   internal::planeView(copy.image(), channel)};
    });
    return true;
}

OIIO::ImageSpec describe(const SxImageInfo& image, const OIIO::ImageSpec& attributes)
{
    OIIO::ImageSpec spec(image.width, image.height, image.channels, OIIO::TypeDesc(sampleFacts(image.dataType).name));
    spec.extra_attribs = attributes.extra_attribs;
    // OpenEXR sorts channels by name.
    for (int channel = 0; image.channels > 4 && channel < image.channels; ++channel)
        spec.channelnames[static_cast<size_t>(channel)] =
            QStringLiteral("channel%1").arg(channel, 5, 10, QLatin1Char('0')).toStdString();
    // Samples are to be written as they are and never to be divided by an alpha channel.
    spec.attribute("oiio:UnassociatedAlpha", 1);
    return spec;
}

/** The file that @p output makes: in @p target when that is not null, else under @p path. */
SxFileError encode(OIIO::ImageOutput& output, const QString& path, const SxImageBuf& image, OIIO::ImageSpec spec,
                   OIIO::Filesystem::IOVecOutput* target)
{
    if (target) {
        void* proxy = target;
        spec.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
    }
    if (!output.open(QFile::encodeName(path).toStdString(), spec))
        return unwritable(clause(output.geterror(), path));
    if (output.spec().format != spec.format || output.spec().nchannels != spec.nchannels)
        return {ExFileError::Refused, QStringLiteral("such a file would hold the samples as %1 in %2 channels")
                                          .arg(QLatin1String(output.spec().format.c_str()))
                                          .arg(output.spec().nchannels)};
    const bool isWritten = output.write_image(spec.format, image.data, OIIO::AutoStride, image.stride);
    const bool isClosed = output.close();
    if (isWritten && isClosed && !output.has_error())
        return {};
    const QString reason = clause(output.geterror(), path);
    return unwritable(reason.isEmpty() ? QStringLiteral("the format's library could not write it") : reason);
}

SxFileError writeFile(const QString& path, const Bytes& content)
{
    QFile file(path);
    const auto bytes = static_cast<qint64>(content.size());
    if (file.open(QIODevice::WriteOnly) && file.write(reinterpret_cast<const char*>(content.data()), bytes) == bytes
        && file.flush())
        return {};
    return unwritable(file.errorString());
}

}  // namespace

SxFileError writeOiioImage(const QString& path, const OiioFormat& format, const SxImageBuf& image,
                           const OIIO::ImageSpec& attributes)
{
    CxScopedBuffer copy;
    // The writer of HEIF files reads past the end of a row, also of the last one.
    const bool isReady =
        image.layout == LayoutPacked && image.formatCode != FormatCodeReversedColors && !format.is("heif");
    if (!isReady && !packed(image, copy))
        return {ExFileError::TooLarge, QStringLiteral("there is not enough memory for a copy of it")};
    const SxImageBuf& source = isReady ? image : copy.image();
    std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(format.name);
    if (!output)
        return {ExFileError::Unsupported, QStringLiteral("OpenImageIO does not write this format here")};
    const OIIO::ImageSpec spec = describe(source, attributes);
    // A full disk makes some libraries end the process, so they write to memory where they can.
    Bytes content;
    OIIO::Filesystem::IOVecOutput memory(content);
    const bool toMemory = output->supports("ioproxy");
    SxFileError error = encode(*output, path, source, spec, toMemory ? &memory : nullptr);
    output.reset();  // the last bytes of some formats are written now
    if (!error && toMemory)
        error = writeFile(path, content);
    return error;
}

}  // namespace oiio
}  // namespace ep
