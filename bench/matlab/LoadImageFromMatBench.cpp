// Reading an image of 24 megapixels from a MAT file, against plain reading of its bytes and against SciPy.

#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>
#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include "MatBenching.h"
#include "PeakMemory.h"

#include <ep/CxCommonImageMetadata.h>

#include <QTemporaryDir>

namespace {

using namespace benching;

bool writeMat(const QString& path, const ep::SxImageBuf& image)
{
    void* mat = orn::matlab::MatOpenWrite(path);
    ep::SxImageInfo written{};
    bool isWritten = orn::matlab::AddImage(mat, image, QStringLiteral("ep_image"), true, written, false);
    auto* own = new orn::matlab::CxMatlabImageMetadata;
    own->reverseRows = true;
    own->origChannels = image.channels;
    own->savedChannels = written.channels;
    auto* common = new ep::CxCommonImageMetadata;
    common->bayerGrid = image.bayerGrid;
    common->layout = image.layout;
    ep::CxMetadata metadata;
    metadata.addMetadata(own);
    metadata.addMetadata(common);
    isWritten &= orn::matlab::AddVar(mat, metadata.saveToXml(-1), QStringLiteral("ep_image_metadata"));
    return orn::matlab::MatClose(mat) && isWritten;
}

bool readMat(const QString& path, const ep::SxImageInfo& expected)
{
    ep::CxScopedBuffer image;
    bool isEntropy = false;
    return orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, nullptr) && image->width == expected.width
           && image->channels == expected.channels;
}

void loadImageFromMat(benchmark::State& state, ep::ExImageDataType type, int channels, ep::ExBayerGrid grid)
{
    orn::Init();
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.mat"));
    const QString plain = folder.filePath(QStringLiteral("plain"));
    ep::SxImageInfo info;
    {
        const ep::CxScopedBuffer image = matImage(type, channels, grid);
        info = image.image();
        if (!writeMat(path, image.image()) || !writePlain(plain, image.image()))
            state.SkipWithError("the files cannot be written");
    }
    std::vector<double> ours, plainly, hugely;
    for (auto _ : state) {
        plainly.push_back(secondsOf([&] { readPlain(plain, info, FreshMemory::Plain); }));
        hugely.push_back(secondsOf([&] { readPlain(plain, info, FreshMemory::Image); }));
        bool isRead = false;
        ours.push_back(secondsOf([&] { isRead = readMat(path, info); }));
        if (!isRead)
            state.SkipWithError("the image cannot be read");
        state.SetIterationTime(ours.back());
    }
    const qint64 peak = peakMemoryOf([&] { readMat(path, info); });
    const double sciPy = secondsOfSciPy({QStringLiteral("load"), path});
    state.SetBytesProcessed(state.iterations() * bytesOf(info));
    reportTimes(state, ours, plainly, "vs_plain_read");
    state.counters["vs_read_into_image"] = medianOf(ours) / medianOf(hugely);
    state.counters["faster_than_scipy"] = sciPy / medianOf(ours);
    state.counters["peak_in_images"] = double(peak) / double(bytesOf(info));
}

}  // namespace

#define ORN_MAT_BENCH(name, ...)                                                                                       \
    BENCHMARK_CAPTURE(loadImageFromMat, name, __VA_ARGS__)                                                             \
        ->UseManualTime()                                                                                              \
        ->Iterations(11)                                                                                               \
        ->Unit(benchmark::kMillisecond)

ORN_MAT_BENCH(u16_mosaic, ep::DataTypeUInt16, 1, ep::BayerGridRGGB);
ORN_MAT_BENCH(u16_one_plane, ep::DataTypeUInt16, 1, ep::BayerGridNone);
ORN_MAT_BENCH(u16_planar_rgb, ep::DataTypeUInt16, 3, ep::BayerGridNone);
ORN_MAT_BENCH(u8_one_plane, ep::DataTypeUInt8, 1, ep::BayerGridNone);
ORN_MAT_BENCH(u8_planar_rgb, ep::DataTypeUInt8, 3, ep::BayerGridNone);
