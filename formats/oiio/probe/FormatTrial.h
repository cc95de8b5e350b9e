/**
 * @file
 * One trial of what a format holds.
 */
#pragma once

#include <ep/ExImageDataType.h>

#include <string>

namespace ep {
namespace oiio {

/** What comes back of an image that was written. */
enum class TrialResult {
    Lost,   ///< nothing, another sample type, or other sizes
    Lossy,  ///< an image of the same type and sizes with other samples
    Exact   ///< every sample
};

/**
 * Writes an image of noise into the format @p format in a file of suffix @p suffix in @p folder and reads it back. Runs
 * in a process of its own: OpenImageIO ends the process over some images that it cannot write.
 */
TrialResult tryFormat(const std::string& format, const std::string& suffix, const std::string& folder,
                      ExImageDataType type, int channels);

/** Most bytes of text that come back from an image's description, of a few sizes that are tried; 0: none. */
int tryDescription(const std::string& format, const std::string& suffix, const std::string& folder,
                   ExImageDataType type, int channels);

}  // namespace oiio
}  // namespace ep
