#include <orn/GetColorBitDepthFromDir.h>

#include "PlainFile.h"

#include <orn/Init.h>
#include <orn/SaveImageToFile.h>

#include <QDir>
#include <QTemporaryDir>

#include <tiffio.h>

#include <algorithm>
#include <memory>

namespace {

constexpr int fileCount = 4;
constexpr int width = 6000;
constexpr int height = 4000;

ep::CxScopedBuffer makeImage()
{
    ep::CxScopedBuffer image;
    image->width = width;
    image->height = height;
    image->channels = 1;
    image->bitDepth = 12;
    image->dataType = ep::DataTypeUInt16;
    if (ep::failed(image.allocate(true)))
        qFatal("no memory for a benchmark image");
    return image;
}

/** The strips of a file by libtiff alone: into the memory of an image, or all into one buffer that stays in the cache.
 */
bool readStrips(const QString& path, bool keepsImage)
{
    const std::unique_ptr<TIFF, void (*)(TIFF*)> file(TIFFOpen(QFile::encodeName(path).constData(), "rm"), &TIFFClose);
    if (!file)
        return false;
    const tmsize_t bytes = TIFFStripSize(file.get());
    const uint32_t strips = TIFFNumberOfStrips(file.get());
    const std::unique_ptr<char[]> samples(new char[static_cast<size_t>(bytes) * (keepsImage ? strips : 1)]);
    for (uint32_t i = 0; i < strips; ++i)
        if (TIFFReadEncodedStrip(file.get(), i, samples.get() + (keepsImage ? i * bytes : 0), bytes) < 0)
            return false;
    return true;
}

template <bool keepsImage>
bool readAllStrips(const QString& folder)
{
    const QStringList names = QDir(folder).entryList(QDir::Files);
    return std::all_of(names.begin(), names.end(),
                       [&](const QString& name) { return readStrips(folder + QLatin1Char('/') + name, keepsImage); });
}

/** Every byte of every file in @p folder, into one buffer. */
bool readAllFiles(const QString& folder)
{
    QByteArray buffer;
    for (const QString& name : QDir(folder).entryList(QDir::Files)) {
        QFile file(folder + QLatin1Char('/') + name);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            return false;
        buffer.resize(static_cast<int>(file.size()));
        if (file.read(buffer.data(), buffer.size()) != buffer.size())
            return false;
        benchmark::DoNotOptimize(buffer.data());
    }
    return true;
}

/** A folder of 24-megapixel mosaics of 12 bits; the counter @p yardstick is the time against that of @p plain. */
void scanFolder(benchmark::State& state, const char* suffix, const char* yardstick, bool (*plain)(const QString&))
{
    orn::Init();
    const QTemporaryDir folder;
    const ep::CxScopedBuffer image = makeImage();
    for (int i = 0; i < fileCount; ++i)
        if (!orn::SaveImageToFile(folder.filePath(QString::number(i) + QLatin1String(suffix)), image.image(), nullptr,
                                  nullptr))
            qFatal("no benchmark file");
    const auto scan = [&folder] {
        int depth = 0;
        ep::ExImageDataType type = ep::DataTypeNone;
        return orn::GetColorBitDepthFromDir(folder.path(), {}, &depth, &type, nullptr, nullptr)
               == orn::ColorBitDepthFound;
    };
    benching::againstPlain(state, yardstick, scan, [&folder, plain] { return plain(folder.path()); });
    state.counters["s_per_file"] =
        benchmark::Counter(fileCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK_CAPTURE(scanFolder, tiff, ".tif", "vs_libtiff", &readAllStrips<true>)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scanFolder, tiff_without_memory, ".tif", "vs_libtiff", &readAllStrips<false>)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scanFolder, mat, ".mat", "vs_plain_read", &readAllFiles)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
