#include "TiffRowDecoder.h"

#include <ep/internal/SampleVisitor.h>

#include <cstring>

namespace ep {
namespace tiff {
namespace {

using internal::loadSample;
using internal::storeSample;

/** The number that the lowest @p bits bits of @p value are; signed types take the highest of them as the sign. */
template <typename Sample>
Sample signExtended(quint64 value, int bits)
{
    const quint64 sign = quint64(1) << (bits - 1);
    if (std::is_signed<Sample>::value)
        return static_cast<Sample>(static_cast<qint64>((value ^ sign) - sign));
    return static_cast<Sample>(value);
}

template <typename Sample>
void unpackBits(const unsigned char* row, unsigned char* image, qint64 samples, int bits)
{
    const quint64 mask = (quint64(1) << bits) - 1;
    quint64 window = 0;
    int held = 0;
    for (qint64 i = 0; i < samples; ++i) {
        for (; held < bits; held += 8)
            window = window << 8 | *row++;
        held -= bits;
        storeSample(image, signExtended<Sample>(window >> held & mask, bits));
        image += sizeof(Sample);
    }
}

/** Three bytes in this machine's order as a number. */
quint32 loadTriple(const unsigned char* bytes)
{
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    return quint32(bytes[0]) | quint32(bytes[1]) << 8 | quint32(bytes[2]) << 16;
#else
    return quint32(bytes[2]) | quint32(bytes[1]) << 8 | quint32(bytes[0]) << 16;
#endif
}

template <typename Sample>
void unpackTriples(const unsigned char* row, unsigned char* image, qint64 samples, int bits)
{
    for (qint64 i = 0; i < samples; ++i)
        storeSample(image + i * static_cast<qint64>(sizeof(Sample)),
                    signExtended<Sample>(loadTriple(row + 3 * i), bits));
}

/**
 * The bits of the float that equals a shorter one. The exponent of a shorter float lies well inside float's, so a
 * subnormal becomes a normal number, and every value and every bit of a NaN is kept.
 */
quint32 widenFloat(quint32 narrow, int exponentBits, int fractionBits)
{
    const quint32 sign = (narrow >> (exponentBits + fractionBits)) << 31;
    const quint32 largestExponent = (1u << exponentBits) - 1;
    quint32 exponent = narrow >> fractionBits & largestExponent;
    quint32 fraction = (narrow & ((1u << fractionBits) - 1)) << (23 - fractionBits);
    if (exponent == largestExponent)
        return sign | 0xffu << 23 | fraction;
    const quint32 offset = 127 - (largestExponent >> 1);
    if (exponent > 0)
        return sign | (exponent + offset) << 23 | fraction;
    if (fraction == 0)
        return sign;
    for (exponent = offset + 1; !(fraction & 1u << 23); --exponent)
        fraction <<= 1;
    return sign | exponent << 23 | (fraction & 0x7fffffu);
}

void widenHalves(const unsigned char* row, unsigned char* image, qint64 samples, int)
{
    for (qint64 i = 0; i < samples; ++i)
        storeSample(image + 4 * i, widenFloat(loadSample<quint16>(row + 2 * i), 5, 10));
}

void widenTriples(const unsigned char* row, unsigned char* image, qint64 samples, int)
{
    for (qint64 i = 0; i < samples; ++i)
        storeSample(image + 4 * i, widenFloat(loadTriple(row + 3 * i), 7, 16));
}

}  // namespace

TiffRowDecoder::TiffRowDecoder(const TiffPage& page)
    : m_bits(page.bits), m_imageBytes(sampleFacts(page.image.dataType).bytes)
{
    if (page.bits == 8 * m_imageBytes)
        return;
    if (page.sampleFormat == SAMPLEFORMAT_IEEEFP) {
        m_convert = page.bits == 16 ? &widenHalves : &widenTriples;
        return;
    }
    internal::visitSampleType(page.image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        m_convert = page.bits == 24 ? &unpackTriples<Sample> : &unpackBits<Sample>;
    });
}

void TiffRowDecoder::decode(const unsigned char* row, unsigned char* image, qint64 samples) const
{
    if (m_convert)
        m_convert(row, image, samples, m_bits);
    else
        std::memcpy(image, row, static_cast<size_t>(samples * m_imageBytes));
}

}  // namespace tiff
}  // namespace ep
