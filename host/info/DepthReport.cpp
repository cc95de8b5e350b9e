#include "DepthReport.h"

#include "ImageReport.h"

#include <orn/SampleBits.h>

namespace {

QString placeName(orn::ExSamplePlace place)
{
    switch (place) {
    case orn::SamplesAllZero: break;
    case orn::SamplesAtLowEnd: return QStringLiteral("low");
    case orn::SamplesAtHighEnd: return QStringLiteral("high");
    case orn::SamplesFill: return QStringLiteral("fill");
    }
    return QStringLiteral("none");
}

QString placeText(orn::ExSamplePlace place, const orn::SxSampleBits& bits)
{
    const QString zeros = bits.unusedLow == 0 ? QString()
                          : bits.unusedLow == 1
                              ? QStringLiteral("; the lowest bit of every sample is 0")
                              : QStringLiteral("; the lowest %1 bits of every sample are 0").arg(bits.unusedLow);
    switch (place) {
    case orn::SamplesAllZero: break;
    case orn::SamplesAtLowEnd: return QStringLiteral("low end") + zeros;
    case orn::SamplesAtHighEnd: return QStringLiteral("high end") + zeros;
    case orn::SamplesFill: return QStringLiteral("all of the container");
    }
    return QStringLiteral("all samples are 0");
}

QString usedText(const orn::SxSampleBits& bits)
{
    if (bits.highest == 0)
        return QStringLiteral("0");
    return QStringLiteral("%1, from bit %2 to bit %3").arg(bits.used()).arg(bits.unusedLow).arg(bits.highest - 1);
}

}  // namespace

Facts depthFacts(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common)
{
    const qint32 declared = declaredDepth(image, common);
    const ep::SxSampleFacts& type = ep::sampleFacts(image.dataType);
    QJsonObject json{{QStringLiteral("container"), type.bytes * 8}, {QStringLiteral("declared"), declared}};
    Facts facts{{QStringLiteral("container bits"), QString::number(type.bytes * 8), QString(), QJsonValue()},
                {QStringLiteral("declared bits"), QString::number(declared), QString(), QJsonValue()}};
    orn::SxSampleBits bits{};
    if (ep::failed(orn::SampleBits(image, bits))) {
        facts << Fact{QStringLiteral("used bits"), QStringLiteral("not told: the samples are no integers"), QString(),
                      QJsonValue()};
    } else {
        const orn::ExSamplePlace place = orn::placeOfSamples(bits, declared);
        facts << Fact{QStringLiteral("used bits"), usedText(bits), QString(), QJsonValue()}
              << Fact{QStringLiteral("place"), placeText(place, bits), QString(), QJsonValue()};
        json[QStringLiteral("used")] = bits.used();
        json[QStringLiteral("unusedLow")] = bits.unusedLow;
        json[QStringLiteral("place")] = placeName(place);
    }
    return facts << Fact{QString(), QString(), QStringLiteral("bits"), json};
}
