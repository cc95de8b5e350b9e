/**
 * @file
 * The keywords of FITS files and what they mean here.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>

namespace ep {
namespace fits {

/** A number of the common metadata and its keyword. */
struct NumberKeyword {
    const char* name;
    double CxCommonImageMetadata::*field;
    bool isWritten;  ///< false: another name for the same that is only read
};

constexpr NumberKeyword numberKeywords[] = {
    {"EXPTIME", &CxCommonImageMetadata::exposureTime, true}, {"EXPOSURE", &CxCommonImageMetadata::exposureTime, false},
    {"FOCALLEN", &CxCommonImageMetadata::focalLength, true}, {"FOCRATIO", &CxCommonImageMetadata::aperture, true},
    {"ISOSPEED", &CxCommonImageMetadata::iso, true},         {"SATURATE", &CxCommonImageMetadata::whiteLevel, true},
};

constexpr char cameraKeyword[] = "INSTRUME";
constexpr char timeKeyword[] = "DATE-OBS";
constexpr char largestKeyword[] = "DATAMAX";

/**
 * What capture programs say and no common field holds. They stand in the attributes, and are written again from there.
 * Other keywords are kept as attributes too, but no other program is told again: what stands in a file made elsewhere
 * about its coordinates, its units or its checksums need not be true of an image that was worked on.
 */
constexpr const char* captureKeywords[] = {
    "OBJECT",   "OBSERVER", "TELESCOP", "FILTER",   "IMAGETYP", "FRAME",   "GAIN",     "EGAIN",    "OFFSET",
    "CCD-TEMP", "SET-TEMP", "XBINNING", "YBINNING", "XPIXSZ",   "YPIXSZ",  "PIXSIZE1", "PIXSIZE2", "READOUTM",
    "SWCREATE", "CREATOR",  "ORIGIN",   "AUTHOR",   "DATE-LOC", "SITELAT", "SITELONG", "SITEELEV", "AIRMASS",
    "OBJCTRA",  "OBJCTDEC", "RA",       "DEC",      "FOCUSPOS", "FOCTEMP", "APTDIA",   "USBLIMIT", "FWHEEL",
};

/** Remarks that begin with this carry metadata as XML text. */
constexpr char metadataMark[] = "#:";

}  // namespace fits
}  // namespace ep
