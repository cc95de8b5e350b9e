// Writing an image of 24 megapixels into a MAT file, against plain writing of its bytes and against SciPy.

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include "MatBenching.h"
#include "PeakMemory.h"

#include <QTemporaryDir>

namespace {

using namespace benching;

bool writeMat(const QString& path, const ep::SxImageBuf& image, bool raw)
{
    void* mat = orn::matlab::MatOpenWrite(path);
    ep::SxImageInfo written{};
    const bool isWritten = orn::matlab::AddImage(mat, image, QStringLiteral("ep_image"), true, written, raw);
    return orn::matlab::MatClose(mat) && isWritten;
}

void addImage(benchmark::State& state, ep::ExImageDataType type, int channels, ep::ExBayerGrid grid, bool raw)
{
    const ep::CxScopedBuffer image = matImage(type, channels, grid);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.mat"));
    const QString plain = folder.filePath(QStringLiteral("plain"));
    std::vector<double> ours, plainly;
    for (auto _ : state) {
        QFile::remove(plain);
        plainly.push_back(secondsOf([&] { writePlain(plain, image.image()); }));
        QFile::remove(path);
        ours.push_back(secondsOf([&] { writeMat(path, image.image(), raw); }));
        state.SetIterationTime(ours.back());
    }
    QFile::remove(path);
    const qint64 peak = peakMemoryOf([&] { writeMat(path, image.image(), raw); });
    QFile::remove(path);
    const QString dtype = QString::fromLatin1(ep::sampleFacts(type).name);
    const double sciPy = secondsOfSciPy({QStringLiteral("save"), path, dtype, QString::number(height),
                                         QString::number(width), QString::number(channels)});
    state.SetBytesProcessed(state.iterations() * bytesOf(image.image()));
    reportTimes(state, ours, plainly, "vs_plain_write");
    state.counters["faster_than_scipy"] = sciPy / medianOf(ours);
    // The caller's own image counts.
    state.counters["peak_in_images"] = 1 + double(peak) / double(bytesOf(image.image()));
}

}  // namespace

#define ORN_MAT_BENCH(name, ...)                                                                                       \
    BENCHMARK_CAPTURE(addImage, name, __VA_ARGS__)->UseManualTime()->Iterations(11)->Unit(benchmark::kMillisecond)

ORN_MAT_BENCH(u16_mosaic_split, ep::DataTypeUInt16, 1, ep::BayerGridRGGB, false);
ORN_MAT_BENCH(u16_mosaic_raw, ep::DataTypeUInt16, 1, ep::BayerGridRGGB, true);
ORN_MAT_BENCH(u16_planar_rgb, ep::DataTypeUInt16, 3, ep::BayerGridNone, false);
ORN_MAT_BENCH(u16_one_plane, ep::DataTypeUInt16, 1, ep::BayerGridNone, false);
ORN_MAT_BENCH(u8_one_plane, ep::DataTypeUInt8, 1, ep::BayerGridNone, false);
ORN_MAT_BENCH(u8_planar_rgb, ep::DataTypeUInt8, 3, ep::BayerGridNone, false);
