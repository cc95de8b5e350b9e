/**
 * @file
 * What a MAT file should hold for an image, said sample by sample and as simply as it can be.
 */
#pragma once

#include "MatReading.h"
#include "TestImages.h"

#include <utility>

namespace testing {

/** The variables that AddImage() should write, and the description it should give; isWritten is false for none. */
struct ExpectedMat {
    bool isWritten = false;
    ep::SxImageInfo info = {};
    QVector<StoredVariable> variables;
};

/** Class and type of the variables for a sample type; false for none. */
inline bool matTypes(int dataType, matio_classes& matClass, matio_types& matType)
{
    switch (dataType) {
    case 1: matClass = MAT_C_INT8, matType = MAT_T_INT8; return true;
    case 2: matClass = MAT_C_UINT8, matType = MAT_T_UINT8; return true;
    case 3: matClass = MAT_C_INT16, matType = MAT_T_INT16; return true;
    case 4: matClass = MAT_C_UINT16, matType = MAT_T_UINT16; return true;
    case 5: matClass = MAT_C_INT32, matType = MAT_T_INT32; return true;
    case 6: matClass = MAT_C_UINT32, matType = MAT_T_UINT32; return true;
    case 7: matClass = MAT_C_SINGLE, matType = MAT_T_SINGLE; return true;
    case 8: matClass = MAT_C_DOUBLE, matType = MAT_T_DOUBLE; return true;
    case 10: matClass = MAT_C_INT64, matType = MAT_T_INT64; return true;
    case 11: matClass = MAT_C_UINT64, matType = MAT_T_UINT64; return true;
    default: return false;
    }
}

/** Column and row, in the 2 x 2 cell of grid 0 to 3, of plane 0 R, 1 G1, 2 B, 3 G2, from the letters of the cell. */
inline std::pair<int, int> colourPosition(int grid, int plane)
{
    const char* const letters[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
    const auto at = [&](int x, int y) { return letters[grid][2 * y + x]; };
    const char wanted = plane == 0 ? 'R' : plane == 2 ? 'B' : 'G';
    const char rowMate = plane == 1 ? 'R' : 'B';  // the green that shares a row with red, or with blue
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
            if (at(x, y) == wanted && (wanted != 'G' || at(1 - x, y) == rowMate))
                return {x, y};
    return {-1, -1};
}

/** A planar image of the mosaic's cell positions; an empty one when there is none. */
inline ep::CxScopedBuffer splitMosaic(const ep::SxImageBuf& image)
{
    const int cellWidth = image.bayerGrid == 5 ? image.patternWidth : 2;
    const int cellHeight = image.bayerGrid == 5 ? image.patternHeight : 2;
    ep::CxScopedBuffer planes(image);
    planes->layout = ep::LayoutPlanar;
    planes->stride = 0;
    planes->channels = cellWidth * cellHeight;
    planes->width = image.width / cellWidth;
    planes->height = image.height / cellHeight;
    if (ep::failed(planes.allocate()))
        return planes;
    for (int p = 0; p < planes->channels; ++p) {
        std::pair<int, int> place(p % cellWidth, p / cellWidth);
        if (image.channels == 1 && image.bayerGrid < 4)
            place = colourPosition(image.bayerGrid, p);
        for (int y = 0; y < planes->height; ++y)
            for (int x = 0; x < planes->width; ++x)
                std::memcpy(address(planes.image(), x, y, p),
                            address(image, x * cellWidth + place.first, y * cellHeight + place.second, 0),
                            static_cast<size_t>(ep::sampleFacts(image.dataType).bytes));
    }
    return planes;
}

/** The name of plane @p plane of @p written. */
inline QString planeName(const ep::SxImageInfo& written, const QString& base, bool raw, int plane)
{
    const char* const colours[] = {"_channel_R", "_channel_G1", "_channel_B", "_channel_G2"};
    const char* const grids[] = {"_BGGR", "_RGGB", "_GBRG", "_GRBG"};
    if (raw && written.channels == 4 && written.layout == 1)
        return base + QLatin1String(colours[plane]);
    if (written.bayerGrid == 4 || written.channels != 1)
        return base + QStringLiteral("_channel_") + QString::number(plane + 1);
    return written.bayerGrid < 4 ? base + QLatin1String(grids[written.bayerGrid]) : QString();
}

/** The samples of plane @p plane column by column, the last row first when @p reverse. */
inline QByteArray columnsOf(const ep::SxImageBuf& image, int plane, bool reverse)
{
    QByteArray bytes;
    for (int x = 0; x < image.width; ++x)
        for (int y = 0; y < image.height; ++y)
            bytes.append(reinterpret_cast<const char*>(address(image, x, reverse ? image.height - 1 - y : y, plane)),
                         ep::sampleFacts(image.dataType).bytes);
    return bytes;
}

/** What AddImage() should make of @p image, which is packed or planar. */
inline ExpectedMat expectedMat(const ep::SxImageBuf& image, const QString& name, bool reverse, bool raw)
{
    ExpectedMat expected;
    matio_classes matClass;
    matio_types matType;
    if (!matTypes(image.dataType, matClass, matType))
        return expected;
    ep::SxImageBuf work = image;
    ep::CxScopedBuffer planes;
    if (image.layout == 0 && raw) {
        if (image.channels != 1)
            return expected;  // its planes would lie past its storage
        work.layout = reverse ? ep::LayoutPacked : ep::LayoutPlanar;
    } else if (image.layout == 0 && image.channels == 1 && image.bayerGrid == 4) {
        work.layout = reverse ? ep::LayoutPacked : ep::LayoutPlanar;
    } else if (image.layout == 0) {
        planes = splitMosaic(image);
        if (!planes->data)
            return expected;
        work = planes.image();
    }
    expected.isWritten = true;
    expected.info = work;
    std::swap(expected.info.width, expected.info.height);
    expected.info.stride = ep::sampleFacts(image.dataType).bytes * expected.info.width;
    for (int p = 0; p < work.channels; ++p)
        expected.variables.append({planeName(work, name, raw, p),
                                   matClass,
                                   matType,
                                   {static_cast<size_t>(work.height), static_cast<size_t>(work.width)},
                                   false,
                                   false,
                                   columnsOf(work, p, reverse)});
    return expected;
}

inline bool operator==(const StoredVariable& a, const StoredVariable& b)
{
    return a.name == b.name && a.matClass == b.matClass && a.matType == b.matType && a.dimensions == b.dimensions
           && a.isComplex == b.isComplex && a.isCompressed == b.isCompressed && a.data == b.data;
}

inline bool sameInfo(const ep::SxImageInfo& a, const ep::SxImageInfo& b)
{
    return std::memcmp(&a, &b, sizeof(ep::SxImageInfo)) == 0;
}

}  // namespace testing
