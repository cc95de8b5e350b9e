#include "MatSampleTypes.h"

#include <algorithm>
#include <iterator>

namespace orn {
namespace matlab {

namespace {

constexpr MatSampleType table[] = {
    {ep::DataTypeInt8, MAT_C_INT8, MAT_T_INT8, true},      {ep::DataTypeUInt8, MAT_C_UINT8, MAT_T_UINT8, true},
    {ep::DataTypeInt16, MAT_C_INT16, MAT_T_INT16, true},   {ep::DataTypeUInt16, MAT_C_UINT16, MAT_T_UINT16, true},
    {ep::DataTypeInt32, MAT_C_INT32, MAT_T_INT32, true},   {ep::DataTypeUInt32, MAT_C_UINT32, MAT_T_UINT32, true},
    {ep::DataTypeFloat, MAT_C_SINGLE, MAT_T_SINGLE, true}, {ep::DataTypeDouble, MAT_C_DOUBLE, MAT_T_DOUBLE, true},
    {ep::DataTypeInt64, MAT_C_INT64, MAT_T_INT64, false},  {ep::DataTypeUInt64, MAT_C_UINT64, MAT_T_UINT64, false},
};

template <typename Matches>
const MatSampleType* findRow(Matches matches)
{
    const auto row = std::find_if(std::begin(table), std::end(table), matches);
    return row == std::end(table) ? nullptr : row;
}

}  // namespace

const MatSampleType* matSampleType(qint32 dataType)
{
    return findRow([dataType](const MatSampleType& row) { return row.dataType == dataType; });
}

const MatSampleType* readableSampleType(int matClass)
{
    return findRow([matClass](const MatSampleType& row) { return row.matClass == matClass && row.isReadable; });
}

bool isDenseNumeric(int matClass)
{
    return findRow([matClass](const MatSampleType& row) { return row.matClass == matClass; }) != nullptr;
}

QString matClassName(int matClass, bool isLogical)
{
    static constexpr const char* names[] = {
        "empty", "cell",  "struct", "object", "char",   "sparse", "double", "single",          "int8",
        "uint8", "int16", "uint16", "int32",  "uint32", "int64",  "uint64", "function_handle", "opaque"};
    if (isLogical && isDenseNumeric(matClass))
        return QStringLiteral("logical");
    const bool known = matClass >= 0 && matClass < static_cast<int>(std::size(names));
    return QLatin1String(known ? names[matClass] : "unknown");
}

}  // namespace matlab
}  // namespace orn
