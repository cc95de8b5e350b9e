/**
 * @file
 * What the benchmarks of MAT files share: images of 24 megapixels, and the two they are compared with.
 */
#pragma once

#include "AgainstMemcpy.h"

#include <QFile>
#include <QProcess>
#include <QStringList>

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

/** The bytes of a file in memory that was not touched before. */
inline bool readPlain(const QString& path, const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image(info);
    image->stride = 0;
    QFile file(path);
    return !ep::failed(image.allocate()) && file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
           && file.read(static_cast<char*>(image->data), bytesOf(info)) == bytesOf(info);
}

/** Seconds that SciPy takes for the same; see scipy_peer.py. Negative when it does not run here. */
inline double secondsOfSciPy(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(ORN_PYTHON), QStringList{QStringLiteral(ORN_SCIPY_PEER)} + arguments);
    if (!process.waitForFinished(300000) || process.exitCode() != 0)
        return -1;
    return process.readAllStandardOutput().trimmed().toDouble();
}

}  // namespace benching
