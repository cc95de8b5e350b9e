#include "HevcDecoder.h"

#include <QtEndian>

#include <libde265/de265.h>
#include <libheif/heif.h>
#include <libheif/heif_plugin.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace ep {
namespace oiio {
namespace {

constexpr char successText[] = "Success";
constexpr heif_channel channels[] = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};

/** One plane of a picture until the library owns it. */
struct FreePlane {
    void operator()(void* memory) const { std::free(memory); }
};
using Plane = std::unique_ptr<void, FreePlane>;

std::atomic<qint64> mostBytes{std::numeric_limits<qint64>::max()};
thread_local HevcPictureLimit* pictureLimit = nullptr;

heif_error success()
{
    return {heif_error_Ok, heif_suberror_Unspecified, successText};
}

/** @param reason  a text that stays */
heif_error failure(const char* reason)
{
    return {heif_error_Decoder_plugin_error, heif_suberror_Unspecified, reason};
}

int planesOf(const de265_image* picture)
{
    return de265_get_chroma_format(picture) == de265_chroma_mono ? 1 : 3;
}

int bytesPerSample(const de265_image* picture, int plane)
{
    return (de265_get_bits_per_pixel(picture, plane) + 7) / 8;
}

void releasePlanes(de265_decoder_context*, de265_image* picture, void*)
{
    for (int plane = 0; plane < planesOf(picture); ++plane)
        std::free(de265_get_image_plane_user_data(picture, plane));
}

/** Bytes from one row of @p plane to the next. */
qint64 planeStride(const de265_image_spec& spec, const de265_image* picture, int plane)
{
    const bool isNarrow = plane > 0 && de265_get_chroma_format(picture) != de265_chroma_444;
    const qint64 width = isNarrow ? spec.width / 2 : spec.width;
    return (width + spec.alignment - 1) / spec.alignment * spec.alignment * bytesPerSample(picture, plane);
}

qint64 planeBytes(const de265_image_spec& spec, const de265_image* picture, int plane)
{
    const bool isLow = plane > 0 && de265_get_chroma_format(picture) == de265_chroma_420;
    return planeStride(spec, picture, plane) * (isLow ? spec.height / 2 : spec.height);
}

/** Gives a picture zeroed memory, as the library wants it. @return 1, or 0 when there is none */
int allocatePlanes(de265_decoder_context*, de265_image_spec* spec, de265_image* picture, void*)
{
    constexpr size_t behind = 64;  // fast code reads past the last sample; rows begin on it
    Plane planes[3];
    qint64 total = 0;
    for (int i = 0; i < planesOf(picture); ++i) {
        const qint64 bytes = planeBytes(*spec, picture, i);
        total += bytes;
        void* memory = nullptr;
        if (total > mostBytes || HevcPictureLimit::isPassedBy(total)
            || posix_memalign(&memory, behind, static_cast<size_t>(bytes) + behind) != 0)
            return 0;
        std::memset(memory, 0, static_cast<size_t>(bytes) + behind);
        planes[i].reset(memory);
    }
    for (int i = 0; i < planesOf(picture); ++i) {
        void* memory = planes[i].release();
        de265_set_image_plane(picture, i, memory, static_cast<int>(planeStride(*spec, picture, i)), memory);
    }
    return 1;
}

heif_error createDecoder(void** decoder)
{
    *decoder = de265_new_decoder();
    return *decoder ? success() : failure("there is not enough memory for its decoder");
}

void freeDecoder(void* decoder)
{
    de265_free_decoder(decoder);
}

/** The stream consists of units, each behind its length. */
heif_error pushData(void* decoder, const void* data, size_t size)
{
    const auto* next = static_cast<const char*>(data);
    while (size > 0) {
        constexpr size_t lengthBytes = 4;
        const quint32 length = size < lengthBytes ? 0 : qFromBigEndian<quint32>(next);
        if (size < lengthBytes || length > size - lengthBytes || length > std::numeric_limits<int>::max())
            return failure("its picture ends too early");
        const de265_error error = de265_push_NAL(decoder, next + lengthBytes, static_cast<int>(length), 0, nullptr);
        if (error != DE265_OK)
            return failure(de265_get_error_text(error));
        next += lengthBytes + length;
        size -= lengthBytes + length;
    }
    return success();
}

/** What is wrong with what was decoded so far; null when nothing is. */
const char* complaint(de265_decoder_context* decoder)
{
    for (;;) {
        const de265_error warning = de265_get_warning(decoder);
        if (warning == DE265_OK)
            return nullptr;
        const bool isHarmless = warning == DE265_WARNING_NO_WPP_CANNOT_USE_MULTITHREADING
                                || warning == DE265_WARNING_NUMBER_OF_THREADS_LIMITED_TO_MAXIMUM
                                || warning == DE265_WARNING_SPS_MISSING_CANNOT_DECODE_SEI;
        if (!isHarmless)
            return de265_get_error_text(warning);
    }
}

/** Which colours the numbers mean, so that libheif converts them. */
void copyColors(const de265_image* picture, heif_image* image)
{
    heif_color_profile_nclx* colors = heif_nclx_color_profile_alloc();
    if (!colors)
        return;
    // A number that libheif does not know leaves the usual colours.
    heif_nclx_color_profile_set_color_primaries(colors, quint16(de265_get_image_colour_primaries(picture)));
    heif_nclx_color_profile_set_transfer_characteristics(colors,
                                                         quint16(de265_get_image_transfer_characteristics(picture)));
    heif_nclx_color_profile_set_matrix_coefficients(colors, quint16(de265_get_image_matrix_coefficients(picture)));
    colors->full_range_flag = de265_get_image_full_range_flag(picture) != 0;
    heif_image_set_nclx_color_profile(image, colors);
    heif_nclx_color_profile_free(colors);
}

heif_error copyPlane(const de265_image* picture, int plane, heif_image* image)
{
    const int width = de265_get_image_width(picture, plane);
    const int height = de265_get_image_height(picture, plane);
    if (width <= 0 || height <= 0)
        return failure("its picture is empty");
    const int bits = de265_get_bits_per_pixel(picture, plane);
    const heif_error error = heif_image_add_plane(image, channels[plane], width, height, bits);
    if (error.code != heif_error_Ok)
        return error;
    int fromStride = 0;
    int toStride = 0;
    const uint8_t* from = de265_get_image_plane(picture, plane, &fromStride);
    uint8_t* to = heif_image_get_plane(image, channels[plane], &toStride);
    const auto rowBytes = static_cast<size_t>(width) * static_cast<size_t>(bytesPerSample(picture, plane));
    for (int y = 0; y < height; ++y)
        std::memcpy(to + qint64(y) * toStride, from + qint64(y) * fromStride, rowBytes);
    return success();
}

heif_error copyPicture(const de265_image* picture, heif_image** result)
{
    heif_image* image = nullptr;
    const bool isGrey = planesOf(picture) == 1;
    heif_error error = heif_image_create(de265_get_image_width(picture, 0), de265_get_image_height(picture, 0),
                                         isGrey ? heif_colorspace_monochrome : heif_colorspace_YCbCr,
                                         static_cast<heif_chroma>(de265_get_chroma_format(picture)), &image);
    for (int plane = 0; error.code == heif_error_Ok && plane < planesOf(picture); ++plane)
        error = de265_get_bits_per_pixel(picture, plane) == de265_get_bits_per_pixel(picture, 0)
                    ? copyPlane(picture, plane, image)
                    : failure("its colours differ in depth");
    if (error.code != heif_error_Ok) {
        heif_image_release(image);
        return error;
    }
    copyColors(picture, image);
    heif_image_release(*result);
    *result = image;
    return error;
}

heif_error decodePicture(void* decoder, heif_image** result)
{
    *result = nullptr;
    heif_error error = success();
    de265_flush_data(decoder);
    for (int more = 1; more && error.code == heif_error_Ok;) {
        more = 0;
        const de265_error flaw = de265_decode(decoder, &more);
        const char* reason = flaw == DE265_OK ? complaint(decoder) : de265_get_error_text(flaw);
        if (reason)
            error = failure(reason);
        else if (const de265_image* picture = de265_peek_next_picture(decoder)) {
            error = copyPicture(picture, result);
            de265_release_next_picture(decoder);
        }
    }
    if (error.code == heif_error_Ok && !*result)
        error = failure("there is no picture in it");
    if (error.code != heif_error_Ok) {
        heif_image_release(*result);
        *result = nullptr;
    }
    return error;
}

/** More than the 100 of libheif's own decoder, which cannot be told by name to decode the tiles of a picture. */
int priorityFor(heif_compression_format format)
{
    constexpr int high = 200;
    return format == heif_compression_HEVC ? high : 0;
}

/** It is strict always. */
void setStrict(void*, int) {}

const char* title()
{
    return "strict HEVC decoder on libde265";
}

}  // namespace

bool useStrictHevcDecoder()
{
    constexpr int apiVersion = 3;
    static const heif_decoder_plugin plugin{apiVersion,  title,    nullptr,       nullptr,   priorityFor, createDecoder,
                                            freeDecoder, pushData, decodePicture, setStrict, "orn-hevc"};
    static const bool isUsed = [] {
        // The functions that a decoder can be given do not serve pictures that are smoothed after decoding (SAO), which
        // most are. Those get their memory from the library's own, which are a variable.
        *const_cast<de265_image_allocation*>(de265_get_default_image_allocation_functions()) = {allocatePlanes,
                                                                                                releasePlanes};
        return heif_register_decoder_plugin(&plugin).code == heif_error_Ok;
    }();
    return isUsed;
}

void limitHevcPictures(qint64 bytes)
{
    mostBytes = bytes;
}

HevcPictureLimit::HevcPictureLimit(qint64 bytes) : m_outer(pictureLimit), m_bytes(bytes)
{
    pictureLimit = this;
}

HevcPictureLimit::~HevcPictureLimit()
{
    pictureLimit = m_outer;
}

bool HevcPictureLimit::isPassedBy(qint64 bytes)
{
    const bool isPassed = pictureLimit && bytes > pictureLimit->m_bytes;
    if (isPassed)
        pictureLimit->m_isPassed = true;
    return isPassed;
}

}  // namespace oiio
}  // namespace ep
