// An input is a file of a format that OpenImageIO serves, told by how it begins.
#include "Fuzzing.h"

#include <algorithm>
#include <iterator>

namespace {

struct Beginning {
    int place;
    const char* bytes;
    const char* suffix;
};

constexpr Beginning beginnings[] = {
    {0, "\x89PNG", "png"}, {0, "\xff\xd8", "jpg"}, {4, "jP  ", "jp2"}, {0, "v/1\1", "exr"},
    {8, "WEBP", "webp"},   {4, "ftyp", "heic"},    {0, "BM", "bmp"},   {0, "SDPX", "dpx"},
    {0, "XPDS", "dpx"},    {0, "GIF8", "gif"},     {2, "\1", "ico"},   {0, "#?", "hdr"},
};

/** Targa files begin with nothing of their own. */
const char* suffixOf(const QByteArray& file)
{
    const auto* found = std::find_if(std::begin(beginnings), std::end(beginnings), [&](const Beginning& beginning) {
        return file.mid(beginning.place, int(qstrlen(beginning.bytes))) == beginning.bytes;
    });
    return found == std::end(beginnings) ? "tga" : found->suffix;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto file = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    fuzzing::loadAsImage(data, size, suffixOf(file));
    return 0;
}
