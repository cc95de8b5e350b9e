// Lists what OpenImageIO serves, as it is installed here: probe_oiio LIST.json TABLE.inc
#include "FormatTrial.h"

#include <OpenImageIO/imageio.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <unistd.h>
#include <vector>

namespace {

using namespace ep;
using namespace ep::oiio;

using Strings = std::vector<std::string>;

constexpr int rank = -10;     // after every plug-in of one format's own
constexpr int mostTried = 5;  // channels; a format that takes five takes any number

const std::set<std::string>& notServed()
{
    static const std::set<std::string> names = {
        "tiff",
        "pnm",
        "raw",  // have modules of their own; OpenImageIO scales 10-, 12- and 14-bit samples
        "null",
        "term",     // are no files
        "fits",     // the rows come in the wrong order and the offset of the samples is not applied
        "ffmpeg",   // frames are converted to other colours and rounded to 8 bits
        "openvdb",  // volumes
        "zfile",    // the end of a truncated file is made up without a word
        // Damaged files end the process, or never end.
        "cineon",
        "dds",
        "iff",
        "psd",
        "sgi",
        "softimage",
    };
    return names;
}

/** True where writing is not even tried. */
bool isAvoided(const std::string& format, int channels)
{
    // The run-length coder of RLA loses samples now and then. WebP images with opacity are read premultiplied.
    return format == "rla" || (format == "webp" && channels > 3);
}
