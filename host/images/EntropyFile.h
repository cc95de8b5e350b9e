/**
 * @file
 * Writing an entropy image so that no half file is left behind.
 */
#pragma once

#include <ep/epcore.h>

#include <QString>

/** Planes that an entropy file can give back under numbered names. */
constexpr int entropyPlanesReadBack = 3;

/** Number of planes that @p image has in an entropy file: its channels, or the places of its colour-filter cell. */
int entropyPlanes(const ep::SxImageInfo& image);

/**
 * Writes @p image, which must be of doubles, to the MAT file @p path under the names that start with @p prefix, rows in
 * their order. The file is proved before it takes its place: the planes that can be read back are.
 */
bool saveEntropyFile(const QString& path, const ep::SxImageBuf& image, const QString& prefix, bool refuseReplace,
                     ep::SxFileError& error);
