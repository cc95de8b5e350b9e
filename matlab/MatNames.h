/**
 * @file
 * Names of the variables in which images are stored.
 */
#pragma once

#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/** Base name of images unless something else is asked for. */
inline QString defaultBaseName()
{
    return QStringLiteral("ep_image");
}

/** The text variable that holds an image's metadata, whatever the base name. */
inline QString metadataName()
{
    return QStringLiteral("ep_image_metadata");
}

/** Plane @p plane, counted from 0: BASE_channel_1, BASE_channel_2, ... */
QString numberedPlaneName(const QString& base, int plane);

/** Planes of a raw image told by colour: BASE_channel_R, _channel_G1, _channel_B, _channel_G2 for 0 to 3. */
QString colourPlaneName(const QString& base, int plane);

/** Most planes that colourPlaneName() names. */
constexpr int colourPlanes = 4;

/**
 * Plane @p plane of the image described by @p written, as AddImage() names it.
 * @param raw AddImage()'s own argument
 */
QString writtenPlaneName(const ep::SxImageInfo& written, const QString& base, bool raw, int plane);

}  // namespace matlab
}  // namespace orn
