/**
 * @file
 * Files of signed differences and of their halves.
 */
#pragma once

#include "PictureFile.h"

/** Forgets what @p metadata says of the levels of an image: those of a difference to another image mean nothing. */
void forgetLevels(ep::CxMetadata& metadata);

/**
 * Writes @p picture, of samples that any number of colour-filter cells may end in the middle of, as @p path; a MAT
 * file, which holds whole cells, then gets it as a plain image. Adds to the picture's notes what the file does not
 * keep.
 */
bool saveSigned(const QString& path, Picture& picture, bool refuseReplace, ep::SxFileError& error);

/** Finds before any work that @p path cannot be written, or is not to be replaced. */
bool canBeMade(const QString& path, bool refuseReplace, ep::SxFileError& error);
