/**
 * @file
 * Reading HEIF files.
 */
#pragma once

#include <OpenImageIO/imageio.h>

#include <libheif/heif.h>

#include <memory>
#include <vector>

namespace ep {
namespace oiio {

/**
 * Reads HEIF files in place of OpenImageIO's own reader, which believes the size that a file states beside its picture:
 * where the picture is smaller, it reads on behind it. This one compares. It decodes a picture when its samples are
 * asked for, so that whoever finds it too large by its header never has it decoded.
 */
class HeifInput : public OIIO::ImageInput {
public:
    const char* format_name() const override { return "heif"; }
    bool open(const std::string& name, OIIO::ImageSpec& spec) override;
    bool close() override;
    int current_subimage() const override { return m_subimage; }
    /** The primary picture is subimage 0. */
    bool seek_subimage(int subimage, int miplevel) override;
    bool read_native_scanline(int subimage, int miplevel, int y, int z, void* data) override;

private:
    struct Release {
        void operator()(heif_context* context) const { heif_context_free(context); }
        void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
        void operator()(heif_image* image) const { heif_image_release(image); }
    };

    bool succeeds(const heif_error& error);
    void describePicture();
    void readExif();
    std::unique_ptr<heif_image, Release> decodeStatedSize();
    bool isAsStated(const heif_image* image);
    bool decode();

    std::unique_ptr<heif_context, Release> m_context;
    std::unique_ptr<heif_image_handle, Release> m_handle;
    std::unique_ptr<heif_image, Release> m_image;  // null: not decoded yet
    std::vector<heif_item_id> m_ids;
    int m_subimage = -1;
};

}  // namespace oiio
}  // namespace ep
