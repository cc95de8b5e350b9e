/**
 * @file
 * Version 5 MAT files put together byte by byte: what no writer would write, and what others write differently.
 */
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <algorithm>
#include <initializer_list>

namespace testing {

/** Types of elements, as the format numbers them. */
enum MatElementType : quint32 {
    MatInt8 = 1,
    MatUInt8 = 2,
    MatInt16 = 3,
    MatUInt16 = 4,
    MatInt32 = 5,
    MatUInt32 = 6,
    MatSingle = 7,
    MatDouble = 9,
    MatMatrix = 14,
    MatCompressed = 15,
    MatUtf8 = 16,
    MatUtf16 = 17
};

/** Numbers as they lie in memory. */
template <typename T>
QByteArray numbers(std::initializer_list<T> values)
{
    return QByteArray(reinterpret_cast<const char*>(values.begin()), static_cast<int>(values.size() * sizeof(T)));
}

/** An element: its tag, @p data, and zeros up to a multiple of 8 bytes. */
inline QByteArray matElement(quint32 type, const QByteArray& data)
{
    return numbers<quint32>({type, quint32(data.size())}) + data + QByteArray((8 - data.size() % 8) % 8, '\0');
}

// The lists stand in functions: as initial values of members, optimising compilers take them for dangling.
inline QByteArray twoByThree()
{
    return numbers<qint32>({2, 3});
}

inline QByteArray oneToSix()
{
    return matElement(MatDouble, numbers<double>({1, 2, 3, 4, 5, 6}));
}

/** One variable, as a plain value to be spoiled at will. The header's parts stand in the order of the file. */
struct MatVariableBytes {
    QByteArray name = "A";
    quint32 matClass = 6;  ///< a double array
    quint32 flags = 0;     ///< 0x0800 complex, 0x0200 logical
    QByteArray dimensions = twoByThree();
    QByteArray data = oneToSix();

    /** Class, dimensions, name and data without the tag of the whole. */
    QByteArray content() const
    {
        return matElement(MatUInt32, numbers<quint32>({matClass | flags, 0})) + matElement(MatInt32, dimensions)
               + matElement(MatInt8, name) + data;
    }
    QByteArray bytes() const { return matElement(MatMatrix, content()); }
};

/** A 1 x n char variable of 8-bit text. */
inline MatVariableBytes matText(const QByteArray& name, const QByteArray& utf8)
{
    return {name, 4, 0, numbers<qint32>({1, utf8.size()}), matElement(MatUtf8, utf8)};
}

/** @p element as MATLAB compresses it. Compressed elements are not padded. */
inline QByteArray matCompressed(const QByteArray& element)
{
    const QByteArray deflated = qCompress(element).mid(4);  // Qt puts the size in front
    return numbers<quint32>({MatCompressed, quint32(deflated.size())}) + deflated;
}

/** The header of 128 bytes, in this machine's byte order. */
inline QByteArray matHeader()
{
    return QByteArray("MATLAB 5.0 MAT-file").leftJustified(116, ' ') + QByteArray(8, ' ')
           + numbers<quint16>({0x0100, 0x4d49});
}

/** Each @p width bytes the other way round. */
inline QByteArray swapped(QByteArray bytes, int width)
{
    for (int i = 0; i + width <= bytes.size(); i += width)
        std::reverse(bytes.begin() + i, bytes.begin() + i + width);
    return bytes;
}

/** The numbers 1 and 2 as a 1 x 2 double matrix in a file of the other byte order. */
inline QByteArray otherByteOrder()
{
    const auto tag = [](quint32 type, quint32 bytes) { return swapped(numbers<quint32>({type, bytes}), 4); };
    const QByteArray content =
        tag(6, 8) + swapped(numbers<quint32>({6, 0}), 4) + tag(5, 8) + swapped(numbers<qint32>({1, 2}), 4) + tag(1, 1)
        + QByteArray("A").leftJustified(8, '\0') + tag(9, 16) + swapped(numbers<double>({1, 2}), 8);
    return QByteArray("MATLAB 5.0 MAT-file").leftJustified(124, ' ') + swapped(matHeader().right(4), 2)
           + tag(14, quint32(content.size())) + content;
}

/** Makes @p bytes the content of the file @p path. */
inline bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile::remove(path);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

}  // namespace testing
