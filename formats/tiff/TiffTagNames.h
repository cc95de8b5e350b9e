/**
 * @file
 * The tags that travel between TIFF files and the attributes of a common metadata item.
 */
#pragma once

#include <tiffio.h>

namespace ep {
namespace tiff {

/** How libtiff hands a tag over. */
enum class TagKind {
    Text,   ///< const char*
    Float,  ///< float, given as double
    Short   ///< uint16_t
};

/** One tag and the name of the attribute that holds it. */
struct TagName {
    uint32_t tag;
    const char* name;
    TagKind kind;
};

/** Tags of the page itself. */
constexpr TagName pageTags[] = {
    {TIFFTAG_SOFTWARE, "Software", TagKind::Text},
    {TIFFTAG_ARTIST, "Artist", TagKind::Text},
    {TIFFTAG_COPYRIGHT, "Copyright", TagKind::Text},
    {TIFFTAG_HOSTCOMPUTER, "HostComputer", TagKind::Text},
    {TIFFTAG_DOCUMENTNAME, "DocumentName", TagKind::Text},
    {TIFFTAG_PAGENAME, "PageName", TagKind::Text},
    {TIFFTAG_XRESOLUTION, "XResolution", TagKind::Float},
    {TIFFTAG_YRESOLUTION, "YResolution", TagKind::Float},
    {TIFFTAG_RESOLUTIONUNIT, "ResolutionUnit", TagKind::Short},
};

/** Tags of the Exif directory. */
constexpr TagName exifTags[] = {
    {EXIFTAG_LENSMAKE, "LensMake", TagKind::Text},
    {EXIFTAG_LENSMODEL, "LensModel", TagKind::Text},
    {EXIFTAG_BODYSERIALNUMBER, "BodySerialNumber", TagKind::Text},
    {EXIFTAG_EXPOSUREBIASVALUE, "ExposureBiasValue", TagKind::Float},
    {EXIFTAG_EXPOSUREPROGRAM, "ExposureProgram", TagKind::Short},
    {EXIFTAG_METERINGMODE, "MeteringMode", TagKind::Short},
    {EXIFTAG_FLASH, "Flash", TagKind::Short},
    {EXIFTAG_WHITEBALANCE, "WhiteBalance", TagKind::Short},
    {EXIFTAG_FOCALLENGTHIN35MMFILM, "FocalLengthIn35mmFilm", TagKind::Short},
};

/** What the samples of a page mean where that is neither grey from black on nor RGB. */
struct PhotometricName {
    uint16_t code;
    const char* name;
};

/** Name of the attribute that says what the samples mean. */
constexpr char photometricAttribute[] = "PhotometricInterpretation";

constexpr PhotometricName photometricNames[] = {
    {PHOTOMETRIC_MINISWHITE, "MinIsWhite"}, {PHOTOMETRIC_PALETTE, "Palette"}, {PHOTOMETRIC_MASK, "Mask"},
    {PHOTOMETRIC_SEPARATED, "Separated"},   {PHOTOMETRIC_YCBCR, "YCbCr"},     {PHOTOMETRIC_CIELAB, "CIELab"},
    {PHOTOMETRIC_ICCLAB, "ICCLab"},         {PHOTOMETRIC_ITULAB, "ITULab"},
};

}  // namespace tiff
}  // namespace ep
