/**
 * @file
 * Reading an image file of any known format.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {

/**
 * Reads @p fileName as ep::CxImageFormatManager::loadImageFromFile() does: into @p image, which must be empty and is
 * the caller's to free, and its metadata into @p metadata where that is given.
 * @return false, with @p image empty, when it cannot
 */
ORN_EXPORT bool LoadImageFromFile(const QString& fileName, ep::SxImageBuf& image, ep::CxMetadata* metadata);

}  // namespace orn
