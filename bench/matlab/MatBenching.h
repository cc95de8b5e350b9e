/**
 * @file
 * What the benchmarks of MAT files share: images of 24 megapixels, and the two they are compared with.
 */
#pragma once

#include "AgainstMemcpy.h"

#include <QFile>
#include <QProcess>
#include <QStringList>

#include <vector>

#include <sys/mman.h>

namespace benching {

inline qint64 bytesOf(const ep::SxImageInfo& image)
{
    return qint64(image.width) * image.height * image.channels * ep::sampleFacts(image.dataType).bytes;
}

/** An image of 24 megapixels, planar when there are several channels. */
inline ep::CxScopedBuffer matImage(ep::ExImageDataType type, int channels, ep::ExBayerGrid grid)
{
    const ep::ExImageLayout layout = channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked;
    ep::CxScopedBuffer image = makeImage(type, width, height, channels, layout);
    image->bayerGrid = grid;
    return image;
}

/** The same bytes in a new file. */
inline bool writePlain(const QString& path, const ep::SxImageBuf& image)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
           && file.write(static_cast<const char*>(image.data), bytesOf(image)) == bytesOf(image);
}

/** Where readPlain() puts the bytes. */
enum class FreshMemory {
    Plain,  ///< as the system gives it: each page of it is touched for the first time
    Image   ///< as AllocBuffer() gives it: in huge pages where the system offers them
};

/** The bytes of a file in memory that was not touched before. */
inline bool readPlain(const QString& path, const ep::SxImageInfo& info, FreshMemory memory)
{
    ep::CxScopedBuffer image(info);
    image->stride = 0;
    const auto bytes = static_cast<size_t>(bytesOf(info));
    void* plain = MAP_FAILED;
    if (memory == FreshMemory::Plain)
        plain = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    else if (ep::failed(image.allocate()))
        return false;
    QFile file(path);
    const bool isRead =
        file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        && file.read(static_cast<char*>(plain == MAP_FAILED ? image->data : plain), bytesOf(info)) == bytesOf(info);
    if (plain != MAP_FAILED)
        munmap(plain, bytes);
    return isRead;
}

/** Adds the times of work on an image, measured in turns with something plain, as counters of @p state. */
inline void reportTimes(benchmark::State& state, const std::vector<double>& ours, const std::vector<double>& plain,
                        const char* name)
{
    state.counters[name] = medianOf(ours) / medianOf(plain);
    state.counters["min_ms"] = 1e3 * *std::min_element(ours.begin(), ours.end());
    state.counters["median_ms"] = 1e3 * medianOf(ours);
}

/** Seconds that SciPy takes for the same, the median of several times; see scipy_peer.py. Negative where it fails. */
inline double secondsOfSciPy(const QStringList& arguments)
{
    constexpr int times = 7;
    QProcess process;
    process.start(QStringLiteral(ORN_PYTHON), QStringList{QStringLiteral(ORN_SCIPY_PEER)} + arguments);
    process.write(QByteArray(times, '\n'));
    process.closeWriteChannel();
    if (!process.waitForFinished(300000) || process.exitCode() != 0)
        return -1;
    std::vector<double> seconds;
    for (const QByteArray& line : process.readAllStandardOutput().trimmed().split('\n'))
        seconds.push_back(line.toDouble());
    return medianOf(seconds);
}

}  // namespace benching
