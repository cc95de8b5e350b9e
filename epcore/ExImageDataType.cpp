#include <ep/ExImageDataType.h>

#include <iterator>

namespace ep {

namespace {

// The place of a row is its code.
constexpr SxSampleFacts factsByCode[] = {
    // type, bytes, bits, signed, float, name
    {DataTypeNone, 0, 0, false, false, "none"},      {DataTypeInt8, 1, 8, true, false, "int8"},
    {DataTypeUInt8, 1, 8, false, false, "uint8"},    {DataTypeInt16, 2, 16, true, false, "int16"},
    {DataTypeUInt16, 2, 16, false, false, "uint16"}, {DataTypeInt32, 4, 32, true, false, "int32"},
    {DataTypeUInt32, 4, 32, false, false, "uint32"}, {DataTypeFloat, 4, 32, true, true, "float"},
    {DataTypeDouble, 8, 64, true, true, "double"},   {DataTypeComplex, 16, 64, true, false, "complex"},
    {DataTypeInt64, 8, 64, true, false, "int64"},    {DataTypeUInt64, 8, 64, false, false, "uint64"},
};

}  // namespace

const SxSampleFacts& sampleFacts(qint32 type)
{
    const bool known = type >= 0 && type < static_cast<qint32>(std::size(factsByCode));
    return factsByCode[known ? type : DataTypeNone];
}

}  // namespace ep
