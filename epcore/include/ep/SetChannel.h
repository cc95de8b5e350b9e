/**
 * @file
 * Filling a channel with one value.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Sets every sample of channel @p channel of @p image to @p value.
 *
 * Integer types keep the low bits of @p value; float types take it as a number; the 16-byte type is refused.
 * Padding between rows is left alone.
 *
 * @return ExStatus; fails on an empty image, a channel out of range, an unsupported type or layout.
 */
EP_EXPORT unsigned int SetChannel(SxImageBuf& image, int channel, quint64 value);

}  // namespace ep
