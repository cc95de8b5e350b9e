/**
 * @file
 * FITS files for tests, put together card by card, and the plug-in that is tested with them.
 */
#pragma once

#include "Files.h"
#include "FormatPlugin.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QTemporaryDir>

namespace testing {

constexpr char fitsLoader[] = "ep::fits::CxFitsImageLoader";

inline QByteArray filledUp(QByteArray bytes, char filling)
{
    constexpr int block = 2880;
    return bytes + QByteArray((block - bytes.size() % block) % block, filling);
}

/** A header of @p lines such as "BITPIX = 8"; names are brought to their width. */
inline QByteArray fitsHeader(const QByteArrayList& lines)
{
    QByteArray text;
    for (const QByteArray& line : lines) {
        const int equals = line.indexOf(" = ");
        const bool isValue = equals > 0 && equals <= 8;
        text += (isValue ? line.left(equals).leftJustified(8) + "= " + line.mid(equals + 3) : line).leftJustified(80);
    }
    return filledUp(text + QByteArray("END").leftJustified(80), ' ');
}

/** A file of one image with the axes @p axes, further header @p lines and @p data. */
inline QByteArray fitsFile(int bitpix, const QList<int>& axes, const QByteArrayList& lines, const QByteArray& data)
{
    QByteArrayList all{"SIMPLE = T", "BITPIX = " + QByteArray::number(bitpix),
                       "NAXIS = " + QByteArray::number(axes.size())};
    for (int i = 0; i < axes.size(); ++i)
        all << "NAXIS" + QByteArray::number(i + 1) + " = " + QByteArray::number(axes[i]);
    return fitsHeader(all + lines) + filledUp(data, '\0');
}

/** Where the line of keyword @p name begins; -1: nowhere. */
inline int fitsCardAt(const QByteArray& file, const QByteArray& name)
{
    return file.indexOf(name.leftJustified(8) + '=');
}

/** @p file with another card in place of that of keyword @p old. */
inline QByteArray replacedFitsCard(QByteArray file, const QByteArray& old, const QByteArray& card)
{
    const int at = fitsCardAt(file, old);
    return at < 0 ? QByteArray() : file.replace(at, 80, card.leftJustified(80));
}

inline QByteArray changedFitsCard(const QByteArray& file, const QByteArray& name, const QByteArray& value)
{
    return replacedFitsCard(file, name, name.leftJustified(8) + "= " + value);
}

/** What loading gave. */
struct FitsLoaded {
    LoadedFrame frame;
    ep::SxFileError error;

    explicit operator bool() const { return frame.data != nullptr; }
    const ep::SxImageBuf& image() const { return frame.image(); }
    const ep::CxCommonImageMetadata& common() const { return *frame.common(); }
    QString attribute(const char* name) const { return common().attributes.value(QLatin1String(name)); }
};

inline FitsLoaded loadFitsFile(const QString& path, qint64 memoryLimit = 0)
{
    loadFormatPlugin(QStringLiteral("fits"));
    FitsLoaded loaded{loadFrame(fitsLoader, path, 0, memoryLimit), {}};
    loaded.error = loaded.frame.loader->lastError();
    return loaded;
}

inline FitsLoaded loadFits(const QByteArray& content, qint64 memoryLimit = 0)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    if (!writeFile(path, content))
        qFatal("cannot write a test file");
    return loadFitsFile(path, memoryLimit);
}

/** A 16-bit image of 4 x @p height with @p lines in its header. */
inline FitsLoaded loadFitsWith(const QByteArrayList& lines, int height = 3)
{
    return loadFits(fitsFile(16, {4, height}, lines, QByteArray(4 * height * 2, '\1')));
}

/** The lines of the first header of @p file, without the blanks that fill them. */
inline QByteArrayList fitsLinesOf(const QByteArray& file)
{
    QByteArrayList lines;
    for (int at = 0; at + 80 <= file.size(); at += 80) {
        lines << file.mid(at, 80).trimmed();
        if (lines.last() == "END")
            break;
    }
    return lines;
}

/** Saves @p data to @p path; the size of the file must be the announced one. */
inline bool saveFits(const QString& path, const ep::CxImageData& data, ep::SxFileError* error = nullptr)
{
    loadFormatPlugin(QStringLiteral("fits"));
    const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::fits::CxFitsImageSaver", "IxImageDataSaver");
    saver->setFileName(path);
    const bool isDone = saver->saveImage(&data);
    if (error)
        *error = saver->lastError();
    return isDone && saver->expectedFileSize() == QFile(path).size();
}

}  // namespace testing
