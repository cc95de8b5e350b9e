/**
 * @file
 * How much memory one image may take.
 */
#pragma once

#include <ep/SxFileError.h>
#include <ep/internal/CheckedSize.h>

#include <QtGlobal>

#include <unistd.h>

namespace ep {
namespace internal {

/** Half of the machine's memory, in bytes: the limit unless somebody sets one. */
inline qint64 defaultMemoryLimit()
{
    const qint64 pages = sysconf(_SC_PHYS_PAGES);
    const qint64 pageBytes = sysconf(_SC_PAGESIZE);
    // Where the system does not say, what fits a small machine.
    return pages > 0 && pageBytes > 0 ? pages / 2 * pageBytes : qint64(1) << 30;
}

/** The error of something in a file, @p what, that takes @p bytes, where @p limit are allowed. */
inline SxFileError pastMemoryLimit(const CheckedSize& bytes, qint64 limit,
                                   const QString& what = QStringLiteral("its image"))
{
    const QString needed = bytes.isValid() ? QString::number(bytes.value()) : QStringLiteral("more than 2^63");
    return {ExFileError::TooLarge,
            QStringLiteral("%1 takes %2 bytes, past the memory limit of %3 bytes").arg(what, needed).arg(limit)};
}

}  // namespace internal
}  // namespace ep
