#include <ep/AllocAndCopyBuffer.h>

#include <ep/AllocBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/BufferBookkeeping.h>
#include <ep/internal/ImageCheck.h>

namespace ep {

unsigned int AllocAndCopyBuffer(const SxImageBuf& source, SxImageBuf& destination)
{
    const SxImageBuf original = source;  // the two references may be one record
    internal::makeEmpty(destination);
    const ExStatus check = internal::checkImage(original);
    if (failed(check))
        return check;
    if (original.stride <= 0)
        return StatusInvalidArgument;  // a choice of stride is for an image that has no samples yet

    const auto books = internal::BufferBookkeeping::readFrom(original);
    const unsigned int status = AllocBuffer(original, destination, false, books.allocate, books.release, books.copy);
    if (failed(status))
        return status;

    const CopyFunction copy = internal::BufferBookkeeping::readFrom(destination).copy;
    const auto rowBytes = static_cast<std::size_t>(internal::rowBytes(original).value());
    const auto rows = static_cast<std::size_t>(internal::storedRows(original).value());
    if (!copy(destination.data, original.data, rowBytes, rows, static_cast<std::size_t>(original.stride))) {
        FreeBuffer(destination);
        return StatusCopyFailed;
    }
    return StatusOk;
}

}  // namespace ep
