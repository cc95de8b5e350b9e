#include <orn/ImageLoader.h>

#include <orn/FileImageLoader.h>

namespace orn {

ImageLoader::~ImageLoader() = default;

ImageLoader* ImageLoader::instance()
{
    return new FileImageLoader;
}

}  // namespace orn
