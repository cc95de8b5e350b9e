#include "UndoScaling.h"

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

namespace ep {
namespace oiio {
namespace {

using internal::loadSample;
using internal::storeSample;

/** @p sample of @p bits bits as OpenImageIO scales it up to @p wide bits. */
quint64 scaled(quint64 sample, int bits, int wide)
{
    quint64 result = 0;
    for (int shift = wide - bits; shift > -bits; shift -= bits)
        result |= shift >= 0 ? sample << shift : sample >> -shift;
    return result;
}

template <typename Sample, typename Work>
void forEachSample(SxImageBuf& image, Work&& work)
{
    const internal::PlaneView rows = internal::storedPlane(image, 0);
    for (qint32 y = 0; y < rows.height; ++y)
        for (qint32 x = 0; x < rows.width; ++x)
            work(rows.sample(x, y));
}

template <typename Sample>
void undo(SxImageBuf& image, int bits)
{
    const int wide = sampleFacts(image.dataType).bits;
    bool isScaled = true;
    bool isPlain = true;
    forEachSample<Sample>(image, [&](const unsigned char* address) {
        const quint64 sample = loadSample<Sample>(address);
        isPlain = isPlain && sample >> bits == 0;
        isScaled = isScaled && scaled(sample >> (wide - bits), bits, wide) == sample;
    });
    if (isScaled)
        forEachSample<Sample>(image, [&](unsigned char* address) {
            storeSample(address, static_cast<Sample>(loadSample<Sample>(address) >> (wide - bits)));
        });
    if (isScaled || isPlain)
        image.bitDepth = bits;
}

}  // namespace

void undoScaling(SxImageBuf& image, int bits)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    if (facts.isSigned || facts.isFloat || bits < 1 || bits >= facts.bits)
        return;
    if (facts.bytes == 1)
        undo<quint8>(image, bits);
    else if (facts.bytes == 2)
        undo<quint16>(image, bits);
    else if (facts.bytes == 4)
        undo<quint32>(image, bits);
}

}  // namespace oiio
}  // namespace ep
