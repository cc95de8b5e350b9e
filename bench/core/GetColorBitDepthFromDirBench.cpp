#include <orn/GetColorBitDepthFromDir.h>

#include "PlainFile.h"

#include <orn/Init.h>
#include <orn/SaveImageToFile.h>

#include <QDir>
#include <QTemporaryDir>

namespace {

constexpr int fileCount = 20;
constexpr int width = 2000;
constexpr int height = 1000;

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

/** A folder of images of 4 MB each; the counter is the time against a plain read of the same files. */
void scanFolder(benchmark::State& state, const char* suffix)
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
    benching::againstPlain(state, "vs_plain_read", scan, [&folder] { return readAllFiles(folder.path()); });
    state.counters["s_per_file"] =
        benchmark::Counter(fileCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK_CAPTURE(scanFolder, tiff, ".tif")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scanFolder, mat, ".mat")->UseManualTime()->Unit(benchmark::kMillisecond);
