/**
 * @file
 * Maps of defective pixels: images that show where they are.
 */
#pragma once

#include <orn/DefectList.h>

#include <ep/CxScopedBuffer.h>

namespace orn {

/** The sample that stands for an ExDefectKind in a map, from dark to light so that a map can be looked at. */
enum ExDefectMapValue : quint8 {
    DefectMapGood = 0,
    DefectMapDead = 85,
    DefectMapStuck = 170,
    DefectMapHot = 255  ///< also of a kind that is not told
};

/**
 * Draws @p defects into a map: an 8-bit image of one channel with @p width x @p height pixels. Defects outside of it
 * are passed over.
 * @param map  what it held before is released; left alone on failure
 * @return an ep::ExStatus: fails on sizes below 1 and without memory
 */
ORN_EXPORT unsigned int DefectMap(qint32 width, qint32 height, const QVector<SxDefect>& defects,
                                  ep::CxScopedBuffer& map);

/**
 * The defects in a map, row by row: every pixel with a sample that is not zero. One-channel maps of 8 bits tell the
 * kinds; images of any other kind do not, so that a mask painted by hand will do.
 * @param defects  left alone on failure
 * @return an ep::ExStatus: fails on an empty image, samples that are no numbers, and more than 2^23 defects
 */
ORN_EXPORT unsigned int DefectsOfMap(const ep::SxImageBuf& map, QVector<SxDefect>& defects);

/** True for the names of lists: they end in .txt, .lst, .list or .badpixels, or have no suffix. Others are maps. */
ORN_EXPORT bool isDefectListName(const QString& fileName);

/** Reads a list or a map, whichever the name says; the origin of a map is what its metadata say. */
ORN_EXPORT bool readDefects(const QString& fileName, SxDefectList& list, ep::SxFileError& error);

}  // namespace orn
