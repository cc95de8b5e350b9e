#include <ep/AllocBuffer.h>

#include <ep/ExStatus.h>
#include <ep/internal/BufferBookkeeping.h>
#include <ep/internal/HugePages.h>
#include <ep/internal/ImageCheck.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace ep {

namespace {

constexpr std::size_t smallAlignment = 64;             // one cache line
constexpr qint64 addressSpaceBytes = qint64(1) << 56;  // no 64-bit system gives a process more

void* allocateByDefault(std::size_t bytes)
{
    const bool large = bytes >= internal::hugeThreshold;
    void* storage = nullptr;
    if (posix_memalign(&storage, large ? internal::hugePage : smallAlignment, bytes) != 0)
        return nullptr;
    internal::adviseHugePages(storage, bytes);
    return storage;
}

void freeByDefault(void* storage)
{
    std::free(storage);
}

// The first 64-byte boundary at or after @p storage.
void* alignedUp(void* storage)
{
    const std::size_t past = reinterpret_cast<std::uintptr_t>(storage) % smallAlignment;
    return static_cast<char*>(storage) + (past == 0 ? 0 : smallAlignment - past);
}

bool copyByDefault(void* destination, const void* source, std::size_t rowBytes, std::size_t rows, std::size_t stride)
{
    if (rowBytes == stride) {
        std::memcpy(destination, source, rowBytes * rows);
        return true;
    }
    for (std::size_t y = 0; y < rows; ++y)
        std::memcpy(static_cast<char*>(destination) + y * stride, static_cast<const char*>(source) + y * stride,
                    rowBytes);
    return true;
}

// Sets the stride where the caller left the choice, and computes the bytes of the whole storage.
ExStatus computeSizes(SxImageInfo& info, qint64& bytes)
{
    const ExStatus status = internal::checkDescription(info);
    if (failed(status))
        return status;
    const internal::CheckedSize row = internal::rowBytes(info);
    if (!row.fits(std::numeric_limits<qint32>::max()))
        return StatusSizeOverflow;
    if (info.stride == 0)
        info.stride = static_cast<qint32>(row.value());
    if (info.stride < row.value())
        return StatusInvalidArgument;
    const internal::CheckedSize storage = internal::storedRows(info) * info.stride;
    if (!storage.fits(addressSpaceBytes))
        return StatusSizeOverflow;
    bytes = storage.value();
    return StatusOk;
}

}  // namespace

unsigned int AllocBuffer(const SxImageInfo& description, SxImageBuf& buffer, bool clear, AllocateFunction allocate,
                         FreeFunction release, CopyFunction copy)
{
    SxImageInfo info = description;  // the two references may be one record
    internal::makeEmpty(buffer);
    if (!allocate != !release)
        return StatusInvalidArgument;  // storage would go back to where it did not come from
    qint64 bytes = 0;
    const ExStatus status = computeSizes(info, bytes);
    if (failed(status))
        return status;

    internal::BufferBookkeeping books;
    books.allocate = allocate ? allocate : &allocateByDefault;
    books.release = release ? release : &freeByDefault;
    books.copy = copy ? copy : &copyByDefault;
    books.bytes = static_cast<quint64>(bytes);
    // An allocator that came from outside promises no alignment: there must be room to move up.
    const std::size_t room = books.allocate == &allocateByDefault ? 0 : smallAlignment - 1;
    books.base = books.allocate(static_cast<std::size_t>(bytes) + room);
    if (!books.base)
        return StatusOutOfMemory;

    static_cast<SxImageInfo&>(buffer) = info;
    buffer.data = alignedUp(books.base);
    if (clear)
        std::memset(buffer.data, 0, static_cast<std::size_t>(bytes));
    books.writeTo(buffer);
    return StatusOk;
}

void FreeBuffer(SxImageBuf& buffer)
{
    const internal::BufferBookkeeping books = internal::BufferBookkeeping::readFrom(buffer);
    if (buffer.data && books.base && books.release)
        books.release(books.base);
    internal::makeEmpty(buffer);
}

}  // namespace ep
