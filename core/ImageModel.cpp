#include <orn/ImageModel.h>

namespace orn {

qint32 bytesPerSample(ep::ExImageDataType type)
{
    return ep::sampleFacts(type).bytes;
}

qint64 imageByteSize(const ep::SxImageInfo& image)
{
    const qint64 plane = static_cast<qint64>(image.stride) * image.height;
    return image.layout == ep::LayoutPacked ? plane : plane * image.channels;
}

}  // namespace orn
