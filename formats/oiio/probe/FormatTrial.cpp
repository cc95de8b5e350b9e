#include "FormatTrial.h"

#include <OpenImageIO/imageio.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace ep {
namespace oiio {
namespace {

/** An image to try: large enough for every format (JPEG 2000 wants 32 pixels) and for icons not too large. */
struct Picture {
    int width;
    int height;
    int unusedBits;  // of the 16 of an integer sample of that type
};

// Noise shows any loss; runs of equal bytes and odd sizes show the flaws of run-length coders.
constexpr Picture pictures[] = {{80, 64, 0}, {67, 45, 4}, {33, 34, 9}};

OIIO::TypeDesc typeOf(ExImageDataType type)
{
    return OIIO::TypeDesc(sampleFacts(type).name);
}

template <typename Sample>
void fillFloats(std::vector<char>& bytes, std::mt19937& random)
{
    for (size_t i = 0; i + sizeof(Sample) <= bytes.size(); i += sizeof(Sample)) {
        // Every bit of the significand counts; the sizes are such as a picture has.
        const Sample value = static_cast<Sample>(random()) / static_cast<Sample>(1 << 28) + static_cast<Sample>(1) / 3;
        std::memcpy(&bytes[i], &value, sizeof(value));
    }
}

void fillIntegers(std::vector<char>& bytes, size_t sampleBytes, int unusedBits, std::mt19937& random)
{
    const int shift = sampleBytes == 1 ? unusedBits / 2 : unusedBits;
    for (size_t i = 0; i + sampleBytes <= bytes.size(); i += sampleBytes) {
        const std::uint64_t word = static_cast<std::uint64_t>(random()) << 32 | random();
        const std::uint64_t value = word >> (64 - 8 * sampleBytes) >> shift;
        std::memcpy(&bytes[i], &value, sampleBytes);  // the low bytes come first on every machine that is served
    }
}

std::vector<char> noise(const Picture& picture, ExImageDataType type, int channels)
{
    const auto sampleBytes = static_cast<size_t>(sampleFacts(type).bytes);
    const int samples = picture.width * picture.height * channels;
    std::vector<char> bytes(static_cast<size_t>(samples) * sampleBytes);
    std::mt19937 random(1);
    if (type == DataTypeFloat)
        fillFloats<float>(bytes, random);
    else if (type == DataTypeDouble)
        fillFloats<double>(bytes, random);
    else
        fillIntegers(bytes, sampleBytes, picture.unusedBits, random);
    return bytes;
}

bool write(const std::string& format, const std::string& path, const OIIO::ImageSpec& spec,
           const std::vector<char>& image)
{
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(format);
    if (!output || !output->open(path, spec))
        return false;
    const OIIO::ImageSpec& taken = output->spec();
    return taken.format == spec.format && taken.nchannels == spec.nchannels
           && output->write_image(spec.format, image.data()) && output->close();
}

std::unique_ptr<OIIO::ImageInput> open(const std::string& format, const std::string& path, OIIO::ImageSpec& spec)
{
    OIIO::ImageSpec wish;
    wish.attribute("oiio:UnassociatedAlpha", 1);
    std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::create(format);
    if (input && !input->open(path, spec, wish))
        input.reset();
    return input;
}

TrialResult writeAndRead(const std::string& format, const std::string& path, const Picture& picture,
                         ExImageDataType type, int channels)
{
    OIIO::ImageSpec spec(picture.width, picture.height, channels, typeOf(type));
    spec.attribute("oiio:UnassociatedAlpha", 1);
    const std::vector<char> image = noise(picture, type, channels);
    OIIO::ImageSpec found;
    if (!write(format, path, spec, image))
        return TrialResult::Lost;
    const auto input = open(format, path, found);
    if (!input || found.format != spec.format || found.nchannels != channels || found.width != spec.width
        || found.height != spec.height)
        return TrialResult::Lost;
    std::vector<char> copy(image.size());
    if (!input->read_image(0, 0, 0, channels, spec.format, copy.data()) || input->has_error())
        return TrialResult::Lost;
    return copy == image ? TrialResult::Exact : TrialResult::Lossy;
}

/** What holds for every picture; a format that keeps some and not others cannot be relied on. */
TrialResult writeAndReadAll(const std::string& format, const std::string& path, ExImageDataType type, int channels)
{
    const TrialResult first = writeAndRead(format, path, pictures[0], type, channels);
    for (const Picture& picture : pictures)
        if (first == TrialResult::Lost || writeAndRead(format, path, picture, type, channels) != first)
            return TrialResult::Lost;
    return first;
}

bool keepsDescription(const std::string& format, const std::string& path, ExImageDataType type, int channels, int bytes)
{
    std::string text;
    while (text.size() < static_cast<size_t>(bytes))
        text += "<item name=\"number " + std::to_string(text.size()) + "\">&#228;</item>";
    text.resize(static_cast<size_t>(bytes), '.');
    const Picture& picture = pictures[0];
    OIIO::ImageSpec spec(picture.width, picture.height, channels, typeOf(type));
    spec.attribute("ImageDescription", text);
    OIIO::ImageSpec found;
    return write(format, path, spec, noise(picture, type, channels)) && open(format, path, found)
           && found.get_string_attribute("ImageDescription") == text;
}

/** The number that @p work returns in a process of its own; 0 when that does not end well. */
template <typename Work>
int inChild(Work&& work)
{
    const pid_t child = fork();
    if (child == 0) {
        // What the libraries say of images that they refuse is of no interest here.
        const int silence = ::open("/dev/null", O_WRONLY);
        dup2(silence, STDERR_FILENO);
        // Some libraries end the process by themselves, or never end.
        std::atexit([] { _exit(0); });
        alarm(30);
        _exit(work());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return 0;
    return WEXITSTATUS(status);
}

}  // namespace

TrialResult tryFormat(const std::string& format, const std::string& suffix, const std::string& folder,
                      ExImageDataType type, int channels)
{
    const std::string path = folder + "/trial." + suffix;
    const int result = inChild([&] { return static_cast<int>(writeAndReadAll(format, path, type, channels)); });
    std::remove(path.c_str());
    return result > static_cast<int>(TrialResult::Exact) ? TrialResult::Lost : static_cast<TrialResult>(result);
}

int tryDescription(const std::string& format, const std::string& suffix, const std::string& folder,
                   ExImageDataType type, int channels)
{
    const std::string path = folder + "/trial." + suffix;
    int most = 0;
    for (const int bytes : {2000, 16000, 60000, 1000000})
        if (inChild([&] { return keepsDescription(format, path, type, channels, bytes) ? 1 : 0; }) == 1)
            most = bytes;
        else
            break;
    std::remove(path.c_str());
    return most;
}

}  // namespace oiio
}  // namespace ep
