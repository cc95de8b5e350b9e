/**
 * @file
 * Scans of folders of dumps for their colour depth.
 */
#pragma once

#include "DumpFormat.h"
#include "Files.h"
#include "TestImages.h"

#include <orn/CxProgressInfo.h>
#include <orn/GetColorBitDepthFromDir.h>
#include <orn/Protocol.h>

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

namespace testing {

inline const QStringList dumpNames{QStringLiteral("*.dump")};

/** How many files the loaders of dumps were given since somebody set it to 0. */
inline int& openedDumps()
{
    static int count = 0;
    return count;
}

/** The messages of a scan. */
inline QString filesChecked(int done, int count)
{
    return QStringLiteral("%1 of %2 files checked.").arg(done).arg(count);
}
inline QString failedToRead(const QString& name)
{
    return QStringLiteral("Failed to read %1.").arg(name);
}
inline const QString scanDone = QStringLiteral("Done.");

/** The files of @p dir in the order in which they are scanned. */
inline QStringList listedDumps(const QString& dir)
{
    return QDir(dir).entryList(dumpNames, QDir::Files, QDir::NoSort);
}

/** Writes a dump of a small image of such samples. */
inline bool writeDump(const QString& path, ep::ExImageDataType type = ep::DataTypeUInt16, int depth = 12)
{
    ep::CxScopedBuffer image = randomImage(describe(type, 4, 3));
    image->bitDepth = depth;
    const ep::SxImageInfo& info = image.image();
    return writeFile(path, QByteArray(reinterpret_cast<const char*>(&info), sizeof(info))
                               + QByteArray(static_cast<const char*>(image->data), int(dumpedBytes(info))));
}

/** Writes so many dumps into @p folder: 0.dump, 1.dump, ... */
inline bool writeDumps(const QTemporaryDir& folder, int count)
{
    for (int i = 0; i < count; ++i)
        if (!writeDump(folder.filePath(QStringLiteral("%1.dump").arg(i))))
            return false;
    return true;
}

/** One scan with everything that it reports. */
struct Scan {
    orn::Protocol protocol;
    orn::CxProgressInfo progress;
    int bitDepth = -77;
    ep::ExImageDataType dataType = ep::DataTypeUInt64;
    unsigned int result = 1;

    void run(const QString& dir, const QStringList& filters = dumpNames)
    {
        openedDumps() = 0;
        result = orn::GetColorBitDepthFromDir(dir, filters, &bitDepth, &dataType, &protocol, &progress);
    }
    /** The lines of the protocol without their stamps. */
    QStringList messages()
    {
        QStringList texts;
        for (const QString& line : protocol.getProtocol())
            texts << line.section(QStringLiteral("]: "), 1);
        return texts;
    }
};

}  // namespace testing
