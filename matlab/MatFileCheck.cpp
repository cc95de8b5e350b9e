#include "MatFileCheck.h"

#include "MatByteSource.h"
#include "MatElementWalk.h"

#include <ep/CxImageFormatManager.h>
#include <ep/internal/CheckedSize.h>

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <cstring>

#include <matio.h>

namespace orn {
namespace matlab {

namespace {

using ep::ExFileError;
using ep::SxFileError;

constexpr int headerBytes = 128;
constexpr qint64 tagBytes = 8;
constexpr qint64 compressedBytes = 48 << 10;  // what matio keeps to read a compressed variable

SxFileError unreadable(const QString& reason)
{
    return {ExFileError::Unreadable, reason};
}

// Version and byte order as the header of versions 5 and 7.3 says them; version 0 for anything else.
struct Format {
    int version = 0;
    bool isSwapped = false;
};

Format readFormat(MatByteSource& source)
{
    QByteArray header(headerBytes, Qt::Uninitialized);
    if (!source.read(header.data(), headerBytes))
        return {};
    const bool isLittle = header.endsWith("IM");
    if (!isLittle && !header.endsWith("MI"))
        return {};
    const char* version = header.constData() + 124;
    return {isLittle ? qFromLittleEndian<quint16>(version) : qFromBigEndian<quint16>(version),
            isLittle != (Q_BYTE_ORDER == Q_LITTLE_ENDIAN)};
}

bool walkCompressed(MatByteSource& stored, qint64 bytes, MatElementWalk& walk)
{
    MatInflateSource source(stored, bytes);
    quint32 type, expanded;
    // What follows the matrix is of no use; it is expanded as far as its check sum can be.
    constexpr qint64 remainder = 64;
    return walk.charge(compressedBytes) && walk.tag(source, type, expanded) && type == MAT_T_MATRIX
           && walk.matrix(source, expanded) && source.drain(remainder);
}

SxFileError checkVersion5(MatFileSource& source, bool isSwapped, qint64 memoryLimit)
{
    MatElementWalk walk(isSwapped, memoryLimit);
    qint64 next = headerBytes;
    while (next < source.fileBytes()) {
        quint32 type, bytes;
        source.seek(next);
        if (!walk.tag(source, type, bytes) || bytes > source.fileBytes() - next - tagBytes)
            return unreadable(QStringLiteral("it ends in the middle of an element"));
        if (type != MAT_T_MATRIX && type != MAT_T_COMPRESSED)
            return unreadable(QStringLiteral("something stands where a variable should begin"));
        const bool isSound = type == MAT_T_MATRIX ? walk.matrix(source, bytes) : walkCompressed(source, bytes, walk);
        if (!isSound)
            return {walk.isTooLarge() ? ExFileError::TooLarge : ExFileError::Unreadable,
                    walk.reason().isEmpty() ? QStringLiteral("a compressed variable is damaged") : walk.reason()};
        next += tagBytes + bytes;
    }
    return {};
}

// One variable of a version 4 file: five numbers, the name with its end, the data.
struct Version4Header {
    qint32 type, rows, columns, isComplex, nameBytes;
};

// The type is 1000 M + 10 P + T: byte order, type of the numbers, kind of matrix.
bool readVersion4Header(MatByteSource& source, Version4Header& header)
{
    quint32 words[5];
    if (!source.read(words, sizeof(words)))
        return false;
    constexpr quint32 highestType = 4052;
    if (words[0] > highestType)
        for (quint32& word : words)
            word = qbswap(word);
    std::memcpy(&header, words, sizeof(header));
    return words[0] <= highestType && header.rows >= 0 && header.columns >= 0 && header.nameBytes > 0;
}

qint64 version4SampleBytes(qint32 type)
{
    switch (type % 100 / 10) {
    case 0: return 8;
    case 1:
    case 2: return 4;
    case 3:
    case 4: return 2;
    case 5: return 1;
    default: return -1;
    }
}

SxFileError checkVersion4(MatFileSource& source)
{
    qint64 next = 0;
    while (next < source.fileBytes() || next == 0) {
        Version4Header header;
        source.seek(next);
        if (!readVersion4Header(source, header))
            return unreadable(next == 0 ? QStringLiteral("it is not a MAT file")
                                        : QStringLiteral("something stands where a variable should begin"));
        const auto bytes = ep::internal::CheckedSize(header.rows) * header.columns * version4SampleBytes(header.type)
                           * (header.isComplex != 0 ? 2 : 1);
        next += static_cast<qint64>(sizeof(header)) + header.nameBytes;
        if (!bytes.isValid() || bytes.value() > source.fileBytes() - next)
            return unreadable(QStringLiteral("it ends in the middle of an element"));
        next += bytes.value();
    }
    return {};
}

SxFileError checkVersion73()
{
    if (ep::CxImageFormatManager::instance()->trustsFiles())
        return {};
    return {ExFileError::Refused,
            QStringLiteral("it is a MAT file of version 7.3, which is not read where files are not trusted: the HDF5 "
                           "library can crash on a forged one")};
}

}  // namespace

SxFileError checkMatFile(const QString& path, qint64 memoryLimit)
{
    const QFileInfo info(path);
    if (info.isDir())
        return unreadable(QStringLiteral("it is a folder, not a file"));
    // Opening a pipe would wait for its writer.
    if (info.exists() && !info.isFile())
        return unreadable(QStringLiteral("it is not a regular file"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return unreadable(file.errorString());
    MatFileSource source(file);
    const Format format = readFormat(source);
    if (format.version == MAT_FT_MAT73)
        return checkVersion73();
    if (format.version == MAT_FT_MAT5)
        return checkVersion5(source, format.isSwapped, memoryLimit);
    return checkVersion4(source);
}

}  // namespace matlab
}  // namespace orn
