/**
 * @file
 * Plain reading and writing of an image's bytes, which formats are measured against.
 */
#pragma once

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <QFile>

#include <benchmark/benchmark.h>

#include <chrono>

namespace benching {

/** How long @p work takes. */
template <typename Work>
double secondsOf(Work&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Bytes of the one plane of @p image. */
inline qint64 planeBytes(const ep::SxImageInfo& image)
{
    return qint64(image.stride) * image.height;
}

/** The bytes of @p image in a new file. */
inline bool writePlain(const QString& path, const ep::SxImageBuf& image)
{
    QFile::remove(path);
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
           && file.write(static_cast<const char*>(image.data), planeBytes(image)) == planeBytes(image);
}

/** Those bytes into new storage. */
inline bool readPlain(const QString& path, const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image(info);
    if (ep::failed(image.allocate()))
        return false;
    QFile file(path);
    const bool isRead = file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
                        && file.read(static_cast<char*>(image->data), planeBytes(info)) == planeBytes(info);
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
