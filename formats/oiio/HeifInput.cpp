#include "HeifInput.h"

#include "HevcDecoder.h"

#include <OpenImageIO/tiffutils.h>

#include <QByteArray>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace ep {
namespace oiio {

bool HeifInput::open(const std::string& name, OIIO::ImageSpec& spec)
{
    close();
    if (!useStrictHevcDecoder()) {
        errorfmt("libheif takes no decoder");
        return false;
    }
    m_context.reset(heif_context_alloc());
    heif_item_id primary = 0;
    if (!m_context || !succeeds(heif_context_read_from_file(m_context.get(), name.c_str(), nullptr))
        || !succeeds(heif_context_get_primary_image_ID(m_context.get(), &primary)))
        return false;
    const int pictures = std::max(0, heif_context_get_number_of_top_level_images(m_context.get()));
    m_ids.resize(static_cast<size_t>(pictures));
    heif_context_get_list_of_top_level_image_IDs(m_context.get(), m_ids.data(), pictures);
    m_ids.erase(std::remove(m_ids.begin(), m_ids.end(), primary), m_ids.end());
    m_ids.insert(m_ids.begin(), primary);
    const bool isOpen = seek_subimage(0, 0);
    spec = m_spec;
    return isOpen;
}

bool HeifInput::close()
{
    m_image.reset();
    m_handle.reset();
    m_context.reset();
    m_ids.clear();
    m_subimage = -1;
    return true;
}

bool HeifInput::seek_subimage(int subimage, int miplevel)
{
    if (miplevel != 0 || subimage < 0 || static_cast<size_t>(subimage) >= m_ids.size())
        return false;
    if (subimage == m_subimage)
        return true;
    m_image.reset();
    m_subimage = -1;
    heif_image_handle* handle = nullptr;
    if (!succeeds(heif_context_get_image_handle(m_context.get(), m_ids[static_cast<size_t>(subimage)], &handle)))
        return false;
    m_handle.reset(handle);
    m_subimage = subimage;
    describePicture();
    return true;
}

bool HeifInput::read_native_scanline(int subimage, int miplevel, int y, int, void* data)
{
    if (!seek_subimage(subimage, miplevel) || y < 0 || y >= m_spec.height || (!m_image && !decode()))
        return false;
    int stride = 0;
    const uint8_t* samples = heif_image_get_plane_readonly(m_image.get(), heif_channel_interleaved, &stride);
    std::memcpy(data, samples + qint64(y) * stride, m_spec.scanline_bytes());
    return true;
}

bool HeifInput::succeeds(const heif_error& error)
{
    if (error.code != heif_error_Ok)
        errorfmt("{}", error.message && *error.message ? error.message : "its picture cannot be decoded");
    return error.code == heif_error_Ok;
}

void HeifInput::describePicture()
{
    const int channels = heif_image_handle_has_alpha_channel(m_handle.get()) ? 4 : 3;
    m_spec = OIIO::ImageSpec(heif_image_handle_get_width(m_handle.get()), heif_image_handle_get_height(m_handle.get()),
                             channels, OIIO::TypeDesc::UINT8);
    m_spec.attribute("oiio:ColorSpace", "sRGB");
    if (channels == 4 && !heif_image_handle_is_premultiplied_alpha(m_handle.get())) {
        m_spec.attribute("heif:UnassociatedAlpha", 1);
        m_spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    readExif();
}

void HeifInput::readExif()
{
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(m_handle.get(), "Exif", &id, 1) != 1)
        return;
    QByteArray block(static_cast<int>(heif_image_handle_get_metadata_size(m_handle.get(), id)), '\0');
    constexpr int offsetBytes = 4;
    constexpr int tiffHeaderBytes = 8;
    if (block.size() < offsetBytes || heif_image_handle_get_metadata(m_handle.get(), id, block.data()).code)
        return;
    // A number tells where the TIFF header begins behind it; OpenImageIO writes a wrong one, before this marker.
    const QByteArray marker("Exif\0\0", 6);
    const qint64 offset = block.mid(offsetBytes, marker.size()) == marker
                              ? marker.size()
                              : qint64(qFromBigEndian<quint32>(block.constData()));
    const qint64 start = offsetBytes + offset;
    if (start + tiffHeaderBytes <= block.size())
        OIIO::decode_exif(OIIO::string_view(block.constData() + start, static_cast<size_t>(block.size() - start)),
                          m_spec);
}

std::unique_ptr<heif_image, HeifInput::Release> HeifInput::decodeStatedSize()
{
    const int width = std::max(0, heif_image_handle_get_ispe_width(m_handle.get()));
    const int height = std::max(0, heif_image_handle_get_ispe_height(m_handle.get()));
    // Three colours of two bytes each; but tiles may be larger than the picture that is cut out of them.
    constexpr qint64 leastBytes = 8 << 20;
    const qint64 mostBytes = std::max(leastBytes, 6 * qint64(width) * height);
    HevcPictureLimit limit(mostBytes);
    // Tiles that other threads decode are held to the memory limit alone.
    constexpr int threadsForTiles = 4;
    heif_context_set_max_decoding_threads(m_context.get(), mostBytes > leastBytes ? threadsForTiles : 0);
    // A picture of tiles states its size once more; the library wants both sides of that below one limit.
    heif_context_set_maximum_image_size_limit(m_context.get(), std::max(width, height) + 1);

    const heif_chroma chroma = m_spec.nchannels == 4 ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    heif_image* decoded = nullptr;
    const heif_error error = heif_decode_image(m_handle.get(), &decoded, heif_colorspace_RGB, chroma, nullptr);
    std::unique_ptr<heif_image, Release> image(decoded);
    if (limit.isPassed() || error.subcode == heif_suberror_Security_limit_exceeded)
        errorfmt("its header states {} x {} pixels, and its picture is larger", width, height);
    else if (succeeds(error))
        return image;
    return nullptr;
}

bool HeifInput::isAsStated(const heif_image* image)
{
    const int width = heif_image_get_width(image, heif_channel_interleaved);
    const int height = heif_image_get_height(image, heif_channel_interleaved);
    if (width != m_spec.width || height != m_spec.height) {
        errorfmt("its header states {} x {} pixels, and its picture has {} x {}", m_spec.width, m_spec.height, width,
                 height);
        return false;
    }
    int stride = 0;
    if (!heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride)
        || heif_image_get_bits_per_pixel(image, heif_channel_interleaved) != 8 * m_spec.nchannels
        || stride < static_cast<qint64>(m_spec.scanline_bytes())) {
        errorfmt("its picture has other channels than its header states");
        return false;
    }
    return true;
}

bool HeifInput::decode()
{
    std::unique_ptr<heif_image, Release> image = decodeStatedSize();
    if (image && isAsStated(image.get()))
        m_image = std::move(image);
    return m_image != nullptr;
}

}  // namespace oiio
}  // namespace ep
