// An input is a file of a format that OpenImageIO serves, told by how it begins.
#include "FormatPlugin.h"
#include "Fuzzing.h"

#include <ep/CxImageFormatManager.h>

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>

#include <zlib.h>

namespace {

struct Beginning {
    int place;
    const char* bytes;
    const char* suffix;
};

constexpr Beginning beginnings[] = {
    {0, "\x89PNG", "png"}, {0, "\xff\xd8", "jpg"}, {4, "jP  ", "jp2"},      {0, "v/1\1", "exr"},
    {8, "WEBP", "webp"},   {4, "ftyp", "heic"},    {0, "BM", "bmp"},        {0, "SDPX", "dpx"},
    {0, "XPDS", "dpx"},    {0, "GIF8", "gif"},     {2, "\1", "ico"},        {0, "#?", "hdr"},
    {128, "DICM", "dcm"},  {0, "\xff\x4f", "j2k"}, {26, "\xff\xfe", "rla"},
};

/** Targa files begin with nothing of their own. */
const char* suffixOf(const QByteArray& file)
{
    const auto* found = std::find_if(std::begin(beginnings), std::end(beginnings), [&](const Beginning& beginning) {
        return file.mid(beginning.place, int(qstrlen(beginning.bytes))) == beginning.bytes;
    });
    return found == std::end(beginnings) ? "tga" : found->suffix;
}

constexpr char pngSignature[] = "\x89PNG\r\n\x1a\n";

/** Gives every chunk of a PNG file its sum: the reader passes over those that do not have it, and sees no damage. */
void mendPngSums(uint8_t* data, size_t size)
{
    constexpr size_t lengthBytes = 4, nameBytes = 4, sumBytes = 4;
    size_t at = std::strlen(pngSignature);
    while (at + lengthBytes + nameBytes + sumBytes <= size) {
        const size_t length = qFromBigEndian<quint32>(data + at);
        at += lengthBytes;
        if (length > size - at - nameBytes - sumBytes)
            return;
        const uLong sum = crc32(0, data + at, static_cast<uInt>(nameBytes + length));
        at += nameBytes + length;
        qToBigEndian<quint32>(static_cast<quint32>(sum), data + at);
        at += sumBytes;
    }
}

/** Loads what a file has behind its first frame, which the format manager does not hand out. */
void loadFurtherFrames(const QString& path)
{
    constexpr int mostFrames = 3;
    const auto loader =
        testing::makeRegistered<ep::IxImageDataLoader>("ep::oiio::CxOiioImageLoader", "IxImageDataLoader");
    loader->setMemoryLimit(ep::CxImageFormatManager::instance()->memoryLimit());
    loader->setFileName(path);
    const int frames = loader->open() ? std::min(mostFrames, loader->frameCount()) : 0;
    for (int frame = 1; frame < frames; ++frame) {
        const std::unique_ptr<ep::CxImageData> image(loader->imageData(frame));
        fuzzing::outcome().add(image != nullptr);
        if (image)
            fuzzing::outcome().add(image->image());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto file = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const char* const suffix = suffixOf(file);
    fuzzing::loadAsImage(data, size, suffix);
    if (fuzzing::outcome().isAccepted())
        loadFurtherFrames(fuzzing::inputFile(data, size, suffix));
    return 0;
}

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t mostBytes, unsigned int seed)
{
    const size_t changed = LLVMFuzzerMutate(data, size, mostBytes);
    const size_t signatureBytes = std::strlen(pngSignature);
    const bool isPng = changed >= signatureBytes && std::memcmp(data, pngSignature, signatureBytes) == 0;
    if (isPng && std::mt19937(seed)() % 3 != 0)
        mendPngSums(data, changed);
    return changed;
}
