/**
 * @file
 * The one place where a sample type or a sample size becomes a C++ type.
 *
 * visitSampleType() serves work that depends on the values; it refuses the 16-byte type and unknown codes.
 * visitSampleSize() serves pure moves: it knows sizes only, so each kernel exists once per size and not once per type.
 */
#pragma once

#include <ep/ExImageDataType.h>

#include <cstdint>
#include <cstring>

namespace ep {
namespace internal {

/** Carries a type to a generic lambda: `[](auto tag) { using Sample = typename decltype(tag)::Type; ... }`. */
template <typename T>
struct TypeTag {
    using Type = T;
};

/** 16 bytes that are only moved. */
struct Sample16 {
    std::uint64_t words[2];
};

/** Calls @p work with the TypeTag of sample type @p type; false, without a call, for code 9 and unknown codes. */
template <typename Work>
bool visitSampleType(qint32 type, Work&& work)
{
    switch (type) {
    case DataTypeInt8: work(TypeTag<std::int8_t>()); return true;
    case DataTypeUInt8: work(TypeTag<std::uint8_t>()); return true;
    case DataTypeInt16: work(TypeTag<std::int16_t>()); return true;
    case DataTypeUInt16: work(TypeTag<std::uint16_t>()); return true;
    case DataTypeInt32: work(TypeTag<std::int32_t>()); return true;
    case DataTypeUInt32: work(TypeTag<std::uint32_t>()); return true;
    case DataTypeFloat: work(TypeTag<float>()); return true;
    case DataTypeDouble: work(TypeTag<double>()); return true;
    case DataTypeInt64: work(TypeTag<std::int64_t>()); return true;
    case DataTypeUInt64: work(TypeTag<std::uint64_t>()); return true;
    default: return false;
    }
}

/** Calls @p work with a TypeTag of @p bytes bytes (1, 2, 4, 8 or 16); false, without a call, for any other size. */
template <typename Work>
bool visitSampleSize(qint32 bytes, Work&& work)
{
    switch (bytes) {
    case 1: work(TypeTag<std::uint8_t>()); return true;
    case 2: work(TypeTag<std::uint16_t>()); return true;
    case 4: work(TypeTag<std::uint32_t>()); return true;
    case 8: work(TypeTag<std::uint64_t>()); return true;
    case 16: work(TypeTag<Sample16>()); return true;
    default: return false;
    }
}

/** Reads a sample at any address: strides are arbitrary bytes, so samples need not be aligned. */
template <typename T>
inline T loadSample(const void* address)
{
    T value;
    std::memcpy(&value, address, sizeof(T));
    return value;
}

/** Writes a sample at any address. */
template <typename T>
inline void storeSample(void* address, T value)
{
    std::memcpy(address, &value, sizeof(T));
}

}  // namespace internal
}  // namespace ep
