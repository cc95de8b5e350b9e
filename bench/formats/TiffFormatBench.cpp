// Loading and saving a TIFF file of 24 megapixels of 16 bits, against plain reading and writing of as many bytes.

#include <ep/CxImageData.h>
#include <ep/CxImageFormatManager.h>
#include <ep/CxRtti.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/IxImageDataSaver.h>

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int width = 6000;
constexpr int height = 4000;
constexpr qint64 imageBytes = qint64(width) * height * 2;

using Manager = ep::CxImageFormatManager;

template <typename Work>
double secondsOf(Work&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Twelve noisy bits over a gradient, as a camera gives them. */
ep::CxScopedBuffer scene()
{
    ep::CxScopedBuffer image;
    image->width = width;
    image->height = height;
    image->channels = 1;
    image->dataType = ep::DataTypeUInt16;
    image->bitDepth = 16;
    if (ep::failed(image.allocate()))
        return image;
    std::mt19937 random(1);
    auto* samples = static_cast<quint16*>(image->data);
    for (qint64 i = 0; i < imageBytes / 2; ++i)
        samples[i] = static_cast<quint16>(i % width / 2 + (random() & 63));
    return image;
}

QString pathIn(const QTemporaryDir& folder, const char* name)
{
    return folder.filePath(QString::fromLatin1(name));
}

/** The same bytes in a new file. */
void writePlain(const QString& path, const ep::SxImageBuf& image)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    file.write(static_cast<const char*>(image.data), imageBytes);
}

void readPlain(const QString& path)
{
    ep::CxScopedBuffer image;
    image->width = width;
    image->height = height;
    image->channels = 1;
    image->dataType = ep::DataTypeUInt16;
    if (ep::failed(image.allocate()))
        return;
    QFile file(path);
    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    benchmark::DoNotOptimize(file.read(static_cast<char*>(image->data), imageBytes));
}

QMap<QString, QVariant> compressionOptions(const benchmark::State& state)
{
    const char* const names[] = {"none", "deflate", "lzw"};
    return {{QStringLiteral("compression"), QString::fromLatin1(names[state.range(0)])}};
}

void load(benchmark::State& state)
{
    const QTemporaryDir folder;
    const ep::CxScopedBuffer image = scene();
    const QMap<QString, QVariant> options = compressionOptions(state);
    const QString path = pathIn(folder, "image.tif");
    if (!Manager::saveImageToFile(path, image.image(), nullptr, &options, false, QString())) {
        state.SkipWithError("cannot be saved");
        return;
    }
    writePlain(pathIn(folder, "plain"), image.image());
    double loading = 0;
    double reading = 0;
    for (auto _ : state) {
        bool isLoaded = false;
        const double taken = secondsOf([&] {
            ep::CxScopedBuffer loaded;
            isLoaded = Manager::loadImageFromFile(path, loaded.image(), nullptr);
        });
        if (!isLoaded)
            state.SkipWithError("cannot be loaded");
        reading += secondsOf([&] { readPlain(pathIn(folder, "plain")); });
        loading += taken;
        state.SetIterationTime(taken);
    }
    state.counters["vs_read"] = loading / reading;
    state.SetLabel(options.first().toString().toStdString());
}

/** Saves by the saver alone, or by the manager, which also proves the file and flushes it to disk. */
void save(benchmark::State& state, bool isManaged)
{
    const QTemporaryDir folder;
    const ep::CxScopedBuffer image = scene();
    const QMap<QString, QVariant> options = compressionOptions(state);
    const QString path = pathIn(folder, "image.tif");
    ep::CxImageData data;
    data.setImageShallow(image.image(), 0, 0, QDateTime());
    const auto write = [&] {
        if (isManaged)
            return Manager::saveImageToFile(path, image.image(), nullptr, &options, false, QString());
        for (const QMetaObject* type : ep::CxRtti::instance()->classes(QStringLiteral("IxImageDataSaver"))) {
            if (qstrcmp(type->className(), "ep::tiff::CxTiffImageSaver") != 0)
                continue;
            const std::unique_ptr<QObject> object(type->newInstance());
            auto* saver = qobject_cast<ep::IxImageDataSaver*>(object.get());
            saver->setFileName(path);
            saver->setOptions(options);
            return saver->saveImage(&data);
        }
        return false;
    };
    // The manager loads the plug-in.
    if (!Manager::saveImageToFile(path, image.image(), nullptr, &options, false, QString()))
        state.SkipWithError("cannot be saved");
    double saving = 0;
    double writing = 0;
    for (auto _ : state) {
        bool isSaved = false;
        QFile::remove(path);
        const double taken = secondsOf([&] { isSaved = write(); });
        if (!isSaved)
            state.SkipWithError("cannot be saved");
        QFile::remove(pathIn(folder, "plain"));
        writing += secondsOf([&] { writePlain(pathIn(folder, "plain"), image.image()); });
        saving += taken;
        state.SetIterationTime(taken);
    }
    data.takeImage();  // stays the scoped buffer's
    state.counters["vs_write"] = saving / writing;
    state.SetLabel(options.first().toString().toStdString());
}

}  // namespace

BENCHMARK(load)->DenseRange(0, 2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save, alone, false)->DenseRange(0, 2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save, proved, true)->DenseRange(0, 2)->UseManualTime()->Unit(benchmark::kMillisecond);
