/**
 * @file
 * What the five bookkeeping words of an image record hold.
 */
#pragma once

#include <ep/AllocBuffer.h>

#include <cstring>

namespace ep {
namespace internal {

/** The five words, in their order. All zero in a record whose memory is its caller's own. */
struct BufferBookkeeping {
    AllocateFunction allocate = nullptr;
    FreeFunction release = nullptr;
    CopyFunction copy = nullptr;
    quint64 bytes = 0;     ///< size of the image in the storage, without the room for its alignment
    void* base = nullptr;  ///< what allocate gave and release takes; data may lie past it

    static BufferBookkeeping readFrom(const SxImageBuf& buffer)
    {
        BufferBookkeeping books;
        std::memcpy(&books, buffer.bookkeeping, sizeof(books));
        return books;
    }
    void writeTo(SxImageBuf& buffer) const { std::memcpy(buffer.bookkeeping, this, sizeof(*this)); }
};

static_assert(sizeof(BufferBookkeeping) == sizeof(SxImageBuf::bookkeeping), "five 64-bit words");

/** Makes @p buffer a record without image: null data, zero words, the description as it was. Frees nothing. */
inline void makeEmpty(SxImageBuf& buffer)
{
    buffer.data = nullptr;
    std::memset(buffer.bookkeeping, 0, sizeof(buffer.bookkeeping));
}

}  // namespace internal
}  // namespace ep
