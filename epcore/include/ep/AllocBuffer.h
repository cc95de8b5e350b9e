/**
 * @file
 * Storage of images: making and releasing it.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

#include <cstddef>

namespace ep {

/** Gives storage of at least the asked number of bytes, at any address, or null. Must not throw. */
using AllocateFunction = void* (*)(size_t bytes);
/** Releases storage, told by the very pointer that the matching AllocateFunction gave. */
using FreeFunction = void (*)(void* storage);
/** Copies @p rows rows of @p rowBytes bytes that lie @p stride bytes apart on both sides; false on failure. */
using CopyFunction = bool (*)(void* destination, const void* source, size_t rowBytes, size_t rows, size_t stride);

/**
 * Allocates storage for the image described by @p description and makes @p buffer that image.
 *
 * Both references may name the same record, which is the usual call:
 * @code
 *   ep::SxImageBuf image = ep::emptyImage();
 *   image.width = 640; image.height = 480; image.channels = 1; image.bitDepth = 16;
 *   image.dataType = ep::DataTypeUInt16;
 *   if (ep::failed(ep::AllocBuffer(image, image, false, nullptr, nullptr, nullptr))) ...
 * @endcode
 *
 * A stride of 0 becomes exactly the bytes of one row, so that rows are tight and a whole plane is one run of
 * memory. A stride given by the caller is honoured. The samples start on a 64-byte boundary; from 4 MiB up the
 * default storage is aligned to 2 MiB and advised to huge pages where the system has them.
 *
 * Memory that @p buffer held before is not released: free it first.
 *
 * @param clear     true gives zeroed storage, false storage with any content
 * @param allocate  source of the storage; null means the default. It is asked for 63 bytes more than the image takes,
 *                  so that the samples can start on their boundary wherever the storage begins.
 * @param release   counterpart of @p allocate; null means the default. Give both or neither.
 * @param copy      how AllocAndCopyBuffer() moves rows into a like buffer; null means memcpy
 * @return ExStatus; on failure @p buffer is empty (null data, zero bookkeeping). Fails on a zero or negative
 *         dimension, an unknown sample type or layout, a stride shorter than a row, a size past the address
 *         space and when the allocator gives nothing.
 *
 * Thread-safe for distinct records.
 */
EP_EXPORT unsigned int AllocBuffer(const SxImageInfo& description, SxImageBuf& buffer, bool clear,
                                   AllocateFunction allocate, FreeFunction release, CopyFunction copy);

/**
 * Releases the storage of @p buffer and leaves it empty: null data and zero bookkeeping, the description as it
 * was. Safe on an empty buffer: when data is null nothing is freed, whatever the other fields say, so a copied record
 * whose data was set to null does not free the original's storage. A record with zero bookkeeping points to the
 * caller's own memory, of which nothing is freed.
 */
EP_EXPORT void FreeBuffer(SxImageBuf& buffer);

}  // namespace ep
