/**
 * @file
 * Sound MAT files of a few hundred bytes, from which damaged ones are made.
 */
#pragma once

#include "MatBytes.h"
#include "OwnMat.h"

#include <QVector>

namespace testing {

/** A sound file: a header and elements, which may be compressed after they were damaged. */
struct MatSeed {
    QByteArray header;
    QVector<QByteArray> elements;
    bool isCompressed;

    QByteArray bytes() const
    {
        QByteArray result = header;
        for (const QByteArray& element : elements)
            result += isCompressed ? matCompressed(element) : element;
        return result;
    }
};

inline QByteArray seedPlane(const char* name)
{
    return MatVariableBytes{name, 11, 0, numbers<qint32>({4, 5}), matElement(MatUInt16, QByteArray(40, 'p'))}.bytes();
}

/** What this library writes. */
inline QVector<QByteArray> seedsOwnFile(int planes, const OwnMetadata& metadata)
{
    QVector<QByteArray> elements;
    for (int plane = 1; plane <= planes; ++plane)
        elements << seedPlane(("ep_image_channel_" + QByteArray::number(plane)).constData());
    return elements << matText("ep_image_metadata", metadata.xml().toUtf8()).bytes();
}

/** Variables of every kind that others write. */
inline QVector<QByteArray> seedsZoo()
{
    const QByteArray doubles = matElement(9, numbers<double>({1, 2, 3, 4, 5, 6}));
    const QByteArray matrix = MatVariableBytes{"A", 6, 0, numbers<qint32>({2, 3}), doubles}.bytes();
    const QByteArray names =
        numbers<quint32>({4 << 16 | 5, 8}) + matElement(1, QByteArray("one\0\0\0\0\0two\0\0\0\0\0", 16));
    const QByteArray shortNames = numbers<quint32>({4 << 16 | 5, 2, 4 << 16 | 1}) + QByteArray("x\0y\0", 4);
    const QByteArray sparse =
        MatVariableBytes{"", 5, 0, numbers<qint32>({2, 2}),
                         matElement(5, numbers<qint32>({0})) + matElement(5, numbers<qint32>({0, 1, 1}))
                             + matElement(9, numbers<double>({3}))}
            .bytes();
    return {matText("text", "text").bytes(),
            MatVariableBytes{"short", 2, 0, numbers<qint32>({1, 1}), shortNames + sparse + matrix}.bytes(),
            MatVariableBytes{"wide", 4, 0, numbers<qint32>({1, 3}), matElement(4, numbers<quint16>({65, 0x4e2d, 67}))}
                .bytes(),
            MatVariableBytes{"cells", 1, 0, numbers<qint32>({1, 2}), matrix + matText("", "in").bytes()}.bytes(),
            MatVariableBytes{"fields", 2, 0, numbers<qint32>({1, 1}), names + matrix + matrix}.bytes(),
            MatVariableBytes{
                "inner", 1, 0, numbers<qint32>({1, 2}),
                sparse + MatVariableBytes{"", 2, 0, numbers<qint32>({1, 1}), shortNames + matrix + sparse}.bytes()}
                .bytes(),
            matElement(14, matElement(6, numbers<quint32>({17, 0})) + matElement(1, "my_string")
                               + numbers<quint32>({4 << 16 | 1}) + "MCOS" + matElement(1, "string") + matrix),
            MatVariableBytes{"handle", 16, 0, numbers<qint32>({1, 1}), matrix}.bytes(),
            MatVariableBytes{"sparse", 5, 0, numbers<qint32>({2, 2}),
                             matElement(5, numbers<qint32>({0})) + matElement(5, numbers<qint32>({0, 1, 1}))
                                 + matElement(9, numbers<double>({3}))}
                .bytes(),
            MatVariableBytes{"cube", 6, 0, numbers<qint32>({1, 2, 3}), doubles}.bytes(),
            MatVariableBytes{"narrow", 6, 0, numbers<qint32>({1, 4}), numbers<quint32>({4 << 16 | 2}) + "abcd"}.bytes(),
            MatVariableBytes{"complex", 6, 0x0800, numbers<qint32>({2, 3}), doubles + doubles}.bytes()};
}

/** Files of versions 4, 5 and 7 in both byte orders. */
inline QVector<MatSeed> matSeeds()
{
    const QVector<QVector<QByteArray>> files = {
        seedsOwnFile(4, {4, true, 1, 0, 12}),
        seedsOwnFile(2, {2, false, 4, 1, 16}),
        seedsZoo(),
        seedsZoo().mid(3, 5) + seedsOwnFile(1, {1}),
        {MatVariableBytes{"PIG_channel_1"}.bytes(), MatVariableBytes{"PIG_channel_2"}.bytes()}};
    QVector<MatSeed> result;
    for (const auto& elements : files)
        for (const bool isCompressed : {false, true})
            result.append({matHeader(), elements, isCompressed});
    const QByteArray swapped = otherByteOrder();
    result.append({swapped.left(128), {swapped.mid(128)}, false});
    const QByteArray version4 = numbers<qint32>({0, 2, 3, 0, 2}) + QByteArray("A\0", 2) + QByteArray(48, 'd');
    result.append({version4, {version4}, false});
    return result;
}

}  // namespace testing
