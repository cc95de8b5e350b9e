/**
 * @file
 * DICOM files made by hand: nothing here writes them.
 */
#pragma once

#include <QByteArray>
#include <QSize>
#include <QVector>

namespace testing {

/** A number of two bytes, the lower one first. */
inline QByteArray dicomWord(int value)
{
    return QByteArray(1, static_cast<char>(value)) + static_cast<char>(value >> 8);
}

inline QByteArray dicomElement(int group, int number, const char* kind, QByteArray value)
{
    const bool isLong = qstrcmp(kind, "OW") == 0 || qstrcmp(kind, "OB") == 0;
    if (value.size() % 2)
        value += qstrcmp(kind, "CS") == 0 ? ' ' : '\0';
    return dicomWord(group) + dicomWord(number) + kind + (isLong ? QByteArray(2, '\0') : QByteArray())
           + dicomWord(value.size()) + (isLong ? QByteArray(2, '\0') : QByteArray()) + value;
}

/**
 * A DICOM file of samples of 12 bits in 16.
 * @param samples  row by row
 * @param meaning  what the numbers mean: "MONOCHROME2" when the lowest is black
 */
inline QByteArray dicomFile(const QSize& size, const QVector<int>& samples, const char* meaning, bool isSigned)
{
    QByteArray meta = dicomElement(2, 1, "OB", QByteArray("\0\1", 2))
                      + dicomElement(2, 2, "UI", "1.2.840.10008.5.1.4.1.1.7") + dicomElement(2, 3, "UI", "1.2.3")
                      + dicomElement(2, 0x10, "UI", "1.2.840.10008.1.2.1");
    meta.prepend(dicomElement(2, 0, "UL", dicomWord(meta.size()) + dicomWord(0)));
    QByteArray pixels;
    for (const int sample : samples)
        pixels += dicomWord(sample);
    const QByteArray image =
        dicomElement(8, 0x16, "UI", "1.2.840.10008.5.1.4.1.1.7") + dicomElement(8, 0x18, "UI", "1.2.3")
        + dicomElement(0x28, 2, "US", dicomWord(1)) + dicomElement(0x28, 4, "CS", meaning)
        + dicomElement(0x28, 0x10, "US", dicomWord(size.height()))
        + dicomElement(0x28, 0x11, "US", dicomWord(size.width())) + dicomElement(0x28, 0x100, "US", dicomWord(16))
        + dicomElement(0x28, 0x101, "US", dicomWord(12)) + dicomElement(0x28, 0x102, "US", dicomWord(11))
        + dicomElement(0x28, 0x103, "US", dicomWord(isSigned)) + dicomElement(0x7fe0, 0x10, "OW", pixels);
    return QByteArray(128, '\0') + "DICM" + meta + image;
}

}  // namespace testing
