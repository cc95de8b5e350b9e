/**
 * @file
 * Reading and writing image files of any known format.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/Export.h>
#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace ep {

/**
 * One format, for lists shown to people. What it keeps is stated by the plug-in's JSON data, or by a saver that comes
 * with no plug-in in its dynamic properties "types", "channels", "mosaic" and "metadata".
 */
struct SxFormatInfo {
    QString filter;         ///< "TIFF image (*.tif *.tiff)"
    QStringList suffixes;   ///< "tif", "tiff": lower case, without dot; "*" stands for any
    QString provider;       ///< display name of the class, or the plug-in file that brings it when it is not loaded yet
    int rank = 0;           ///< candidates for the same suffix: the higher is tried first
    bool reads = false;     ///< a loader serves it
    bool writes = false;    ///< a saver serves it
    QString types;          ///< sample types that it keeps, by their names; empty: not stated
    QString channels;       ///< channel counts that it keeps, such as "1, 3" or "any"; empty: not stated
    bool mosaic = false;    ///< it keeps the colour-filter grid of a mosaic
    bool metadata = false;  ///< it keeps the metadata
};

/**
 * Chooses loaders and savers by file suffix, from the class registry and from the format plug-ins, each of which is
 * loaded the first time that a file needs it. All members are thread-safe; separate files can be read and written side
 * by side.
 *
 * Loading sets bitDepth and the metadata's colorBitDepth from what the file says, keeps samples bit for bit and mosaics
 * as mosaics.
 *
 * Saving never leaves half a file: the image goes to a temporary file in the target's folder, which is proved (read
 * back and compared sample for sample, or by its exact size where the format's loader cannot read what its saver
 * wrote), flushed to disk and renamed over the target. After a full disk, any other failure or a kill the old file is
 * whole.
 */
class EP_EXPORT CxImageFormatManager {
public:
    /** The one manager, made at first use; never null. */
    static CxImageFormatManager* instance();

    /**
     * Reads the image file @p path into @p image, which must be empty and is the caller's to free, and its metadata
     * into
     * @p metadata where that is given. False, with @p image empty, when it cannot.
     */
    static bool loadImageFromFile(const QString& path, SxImageBuf& image, CxMetadata* metadata);
    /** As above, with the reason of a failure in @p error and loader options (see IxDataLoader::options()). */
    static bool loadImageFromFile(const QString& path, SxImageBuf& image, CxMetadata* metadata,
                                  const QMap<QString, QVariant>* options, SxFileError* error);

    /**
     * Writes @p image, with @p metadata where given, to @p path.
     * @param options         options of the format's saver; may be null
     * @param refuseReplace   true refuses to replace an existing file
     * @param format          suffix that forces a format; empty: the suffix of @p path
     */
    static bool saveImageToFile(const QString& path, const SxImageBuf& image, const CxMetadata* metadata,
                                const QMap<QString, QVariant>* options, bool refuseReplace, const QString& format);
    /** As above, with the reason of a failure in @p error. */
    static bool saveImageToFile(const QString& path, const SxImageBuf& image, const CxMetadata* metadata,
                                const QMap<QString, QVariant>* options, bool refuseReplace, const QString& format,
                                SxFileError* error);

    /** Every format that can be read or written, sorted by filter text, the not yet loaded plug-ins' included. */
    QList<SxFormatInfo> formats() const;

    /** Looks for format plug-ins in @p folder too; their names must not be known yet. */
    void addPluginFolder(const QString& folder);

    /**
     * Most bytes that the samples of one image may take: a file that declares more is refused, with both numbers,
     * before memory is asked for. Half of the machine's memory unless set. Loaders that nobody gave a limit of their
     * own, and the functions that read MAT and text files, keep to it too. What is in work at once, and what decoding
     * and operations need beside the image, is not counted.
     */
    qint64 memoryLimit() const;
    void setMemoryLimit(qint64 bytes);  ///< sets memoryLimit(); 0 or less: the default

    /**
     * Whether the files come from people who mean well: true unless set. When false, loaders refuse what the libraries
     * below them are known to crash on when it is made with intent: MAT files of version 7.3.
     */
    bool trustsFiles() const;
    void setTrustsFiles(bool trusts);  ///< sets trustsFiles()

    CxImageFormatManager(const CxImageFormatManager&) = delete;
    CxImageFormatManager& operator=(const CxImageFormatManager&) = delete;

private:
    CxImageFormatManager();
    ~CxImageFormatManager();
    struct Private;
    std::unique_ptr<Private> m_d;
};

}  // namespace ep
