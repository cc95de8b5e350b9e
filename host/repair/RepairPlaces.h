/**
 * @file
 * Files that tell `orn repair` where to repair and where not.
 */
#pragma once

#include "PictureFile.h"

#include <QPoint>
#include <QVector>

/** Reads a mask for @p image: one channel of 8 bits, of its size. */
bool readMask(const QString& file, const ep::SxImageInfo& image, ep::CxScopedBuffer& mask, ep::SxFileError& error);

/**
 * Reads which pixels of @p picture are defective: a list of bad pixels, or an image of one 8-bit channel in which
 * they are not zero. What of a list does not concern the picture is left out, and told in its notes.
 */
bool readMap(const QString& file, Picture& picture, QVector<QPoint>& places, ep::SxFileError& error);
