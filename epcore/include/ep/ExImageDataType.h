/**
 * @file
 * Sample types and what is known of each.
 */
#pragma once

#include <ep/Export.h>

#include <QtGlobal>

namespace ep {

/** Type of one sample, as stored in SxImageInfo::dataType. */
enum ExImageDataType : qint32 {
    DataTypeNone = 0,     ///< no samples
    DataTypeInt8 = 1,     ///< signed 8-bit integer
    DataTypeUInt8 = 2,    ///< unsigned 8-bit integer
    DataTypeInt16 = 3,    ///< signed 16-bit integer
    DataTypeUInt16 = 4,   ///< unsigned 16-bit integer
    DataTypeInt32 = 5,    ///< signed 32-bit integer
    DataTypeUInt32 = 6,   ///< unsigned 32-bit integer
    DataTypeFloat = 7,    ///< 32-bit IEEE float
    DataTypeDouble = 8,   ///< 64-bit IEEE float
    DataTypeComplex = 9,  ///< 16 bytes: two doubles, real and imaginary; only moved, never computed with
    DataTypeInt64 = 10,   ///< signed 64-bit integer
    DataTypeUInt64 = 11   ///< unsigned 64-bit integer
};

/** What is known of a sample type. A plain value. */
struct SxSampleFacts {
    ExImageDataType type;  ///< the code these facts belong to
    qint32 bytes;          ///< bytes per sample; 0 for DataTypeNone and unknown codes
    qint32 bits;           ///< bits that an image of this type has when nothing more is known (bitDepth)
    bool isSigned;         ///< the type has negative values
    bool isFloat;          ///< the type is an IEEE float
    const char* name;      ///< short name for people and JSON: "uint16", "double"; "none" for unknown codes
};

/**
 * The facts of sample type @p type, from the one table that the whole system uses.
 * An unknown code gets the facts of DataTypeNone. Thread-safe; the reference is valid for ever.
 */
EP_EXPORT const SxSampleFacts& sampleFacts(qint32 type);

}  // namespace ep
