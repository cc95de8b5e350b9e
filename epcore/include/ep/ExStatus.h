/**
 * @file
 * Result codes of the buffer services.
 */
#pragma once

#include <QtGlobal>

namespace ep {

/**
 * Status word of a buffer service: the call failed exactly when bit 31 is set.
 *
 * Callers that only want to know whether a call worked use failed(); the single codes serve logs and tests.
 */
enum ExStatus : unsigned int {
    StatusOk = 0,                           ///< done
    StatusInvalidArgument = 0x80000001u,    ///< an argument makes no sense: null data, zero size, channel out of range
    StatusUnsupportedType = 0x80000002u,    ///< the sample type is unknown or not served by this operation
    StatusOutOfMemory = 0x80000003u,        ///< the allocator gave no memory
    StatusSizeOverflow = 0x80000004u,       ///< a row or the whole image is larger than its fields or memory can say
    StatusGeometryMismatch = 0x80000005u,   ///< source and destination do not fit together
    StatusUnsupportedLayout = 0x80000006u,  ///< the layout is neither packed nor planar, or not the one required
    StatusCopyFailed = 0x80000007u          ///< the buffer's own copy function reported a failure
};

/** True when bit 31 of @p status is set, that is when the call that returned it failed. */
constexpr bool failed(unsigned int status)
{
    return (status & 0x80000000u) != 0;
}

}  // namespace ep
