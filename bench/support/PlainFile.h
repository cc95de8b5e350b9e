/**
 * @file
 * Plain reading and writing of an image's bytes, which formats are measured against.
 */
#pragma once

#include "AgainstMemcpy.h"

#include <QFile>

namespace benching {

/** The bytes of @p image in a new file. */
inline bool writePlain(const QString& path, const ep::SxImageBuf& image)
{
    QFile::remove(path);
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
           && file.write(static_cast<const char*>(image.data), qint64(storageBytes(image)))
                  == qint64(storageBytes(image));
}

/** Those bytes into new storage. */
inline bool readPlain(const QString& path, const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image(info);
    if (ep::failed(image.allocate()))
        return false;
    QFile file(path);
    const bool isRead =
        file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        && file.read(static_cast<char*>(image->data), qint64(storageBytes(info))) == qint64(storageBytes(info));
    benchmark::DoNotOptimize(image->data);
    return isRead;
}

/** Measures @p work in turns with @p plain; the counter @p name is the ratio of their times. */
template <typename Work, typename Plain>
void againstPlain(benchmark::State& state, const char* name, Work&& work, Plain&& plain)
{
    double working = 0;
    double plainly = 0;
    bool isDone = true;
    for (auto _ : state) {
        const double taken = secondsOf([&] { isDone = work() && isDone; });
        plainly += secondsOf([&] { isDone = plain() && isDone; });
        working += taken;
        state.SetIterationTime(taken);
    }
    if (!isDone)
        state.SkipWithError("a file could not be read or written");
    state.counters[name] = working / plainly;
}

}  // namespace benching
