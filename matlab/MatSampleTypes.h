/**
 * @file
 * Sample types of images and classes of MAT variables: the one table between the two.
 */
#pragma once

#include <ep/ExImageDataType.h>

#include <QString>

#include <matio.h>

namespace orn {
namespace matlab {

/** How samples of one type are stored. A plain value. */
struct MatSampleType {
    ep::ExImageDataType dataType;  ///< sample type of the image
    matio_classes matClass;        ///< class of the variable
    matio_types matType;           ///< type of its elements
    bool isReadable;               ///< images of this type are read back; 64-bit integers are only written
};

/** How samples of type @p dataType are written; null for the 16-byte type and unknown codes. */
const MatSampleType* matSampleType(qint32 dataType);

/** What a variable of class @p matClass is read as; null for classes that are not read as images. */
const MatSampleType* readableSampleType(int matClass);

/** True for the classes whose data is one array of numbers (complex ones are told apart by the variable). */
bool isDenseNumeric(int matClass);

/** MATLAB's name of class @p matClass, as its function class() says it; "unknown" for codes that are none. */
QString matClassName(int matClass, bool isLogical);

}  // namespace matlab
}  // namespace orn
