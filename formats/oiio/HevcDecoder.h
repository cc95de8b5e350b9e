/**
 * @file
 * Decoding the pictures of HEIF files.
 */
#pragma once

#include <QtGlobal>

namespace ep {
namespace oiio {

/**
 * Has libheif decode HEVC pictures by a decoder that is told from its own by what it refuses: whatever the library for
 * it, libde265, complains of and goes on. Samples that no part of a damaged picture sets are 0, and not what memory
 * held.
 *
 * From the first call on it serves everybody in the process who reads HEIF files. Thread-safe.
 *
 * @return false when libheif does not take it
 */
bool useStrictHevcDecoder();

/** Has the decoder refuse pictures of more than @p bytes, from here on and in every thread. */
void limitHevcPictures(qint64 bytes);

}  // namespace oiio
}  // namespace ep
