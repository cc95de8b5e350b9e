/**
 * @file
 * Repeating a repair.
 */
#pragma once

#include <orn/Export.h>
#include <orn/RepairPlanes.h>

#include <ep/SxImageBuf.h>

#include <QVector>

namespace orn {

/**
 * Sets the samples of @p image, of 8- or 16-bit samples, that @p repaired names to their new values, one after another.
 *
 * @param wrong  index of the first record that does not fit: its place lies outside of the image or not in its plane,
 * the sample is not what the record says, or the new value is none of the sample type. Else -1
 * @return an ep::ExStatus; on failure the image is as it was. Fails on an empty image, samples that are not of 8 or 16
 * bits (StatusUnsupportedType), and a record that does not fit (StatusGeometryMismatch).
 */
ORN_EXPORT unsigned int ReplayRepairs(ep::SxImageBuf& image, const QVector<SxRepairedSample>& repaired, int& wrong);

}  // namespace orn
