// Loading and saving a DNG file of 24 megapixels, against plain reading and writing of its samples.

#include <ep/CxImageFormatManager.h>

#include "NoisyMosaic.h"
#include "PlainFile.h"

#include <QTemporaryDir>

namespace {

using Manager = ep::CxImageFormatManager;

QMap<QString, QVariant> compressionOptions(const benchmark::State& state)
{
    const char* const names[] = {"none", "deflate"};
    return {{QStringLiteral("compression"), QString::fromLatin1(names[state.range(0)])}};
}

void load(benchmark::State& state)
{
    const QTemporaryDir folder;
    const ep::CxScopedBuffer mosaic = noisyMosaic(6000, 4000);
    const QMap<QString, QVariant> options = compressionOptions(state);
    const QString path = folder.filePath(QStringLiteral("image.dng"));
    const QString plain = folder.filePath(QStringLiteral("plain"));
    if (!Manager::saveImageToFile(path, mosaic.image(), nullptr, &options, false, QString())
        || !benching::writePlain(plain, mosaic.image()))
        return state.SkipWithError("the files could not be made");
    const auto loadOnce = [&] {
        ep::CxScopedBuffer loaded;
        return Manager::loadImageFromFile(path, loaded.image(), nullptr);
    };
    benching::againstPlain(state, "vs_read", loadOnce, [&] { return benching::readPlain(plain, mosaic.image()); });
    state.SetLabel(options.first().toString().toStdString());
}

/** Through the manager, which also proves the file and flushes it to disk. */
void save(benchmark::State& state)
{
    const QTemporaryDir folder;
    const ep::CxScopedBuffer mosaic = noisyMosaic(6000, 4000);
    const QMap<QString, QVariant> options = compressionOptions(state);
    const QString path = folder.filePath(QStringLiteral("image.dng"));
    const QString plain = folder.filePath(QStringLiteral("plain"));
    const auto saveOnce = [&] {
        return Manager::saveImageToFile(path, mosaic.image(), nullptr, &options, false, QString());
    };
    benching::againstPlain(state, "vs_write", saveOnce, [&] { return benching::writePlain(plain, mosaic.image()); });
    state.SetLabel(options.first().toString().toStdString());
}

}  // namespace

BENCHMARK(load)->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(save)->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMillisecond);
