#include "FitsTypes.h"

#include <fitsio.h>

namespace ep {
namespace fits {
namespace {

constexpr FitsType types[] = {
    {DataTypeUInt8, 8, 0, nullptr, TBYTE},
    {DataTypeInt8, 8, -128, "-128", TSBYTE},
    {DataTypeInt16, 16, 0, nullptr, TSHORT},
    {DataTypeUInt16, 16, 32768, "32768", TUSHORT},
    {DataTypeInt32, 32, 0, nullptr, TINT},
    {DataTypeUInt32, 32, 2147483648.0, "2147483648", TUINT},
    {DataTypeInt64, 64, 0, nullptr, TLONGLONG},
    {DataTypeUInt64, 64, 9223372036854775808.0, "9223372036854775808", TULONGLONG},
    {DataTypeFloat, -32, 0, nullptr, TFLOAT},
    {DataTypeDouble, -64, 0, nullptr, TDOUBLE},
};

}  // namespace

const FitsType* typeOfSamples(qint32 dataType)
{
    for (const FitsType& type : types)
        if (type.dataType == dataType)
            return &type;
    return nullptr;
}

const FitsType* typeOfFile(qint32 bitpix, double scale, double zero)
{
    for (const FitsType& type : types)
        if (type.bitpix == bitpix && scale == 1 && zero == type.zero)
            return &type;
    return nullptr;
}

}  // namespace fits
}  // namespace ep
