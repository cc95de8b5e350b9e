/**
 * @file
 * Reading numbers in a text file as an image.
 */
#pragma once

#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {

/**
 * Reads the text file @p fileName into @p image, see FileImageLoader. What @p image held before is forgotten on success
 * and released on failure.
 */
bool readTextImage(const QString& fileName, ep::SxImageBuf& image);

}  // namespace orn
