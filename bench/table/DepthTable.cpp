// The depth of an image against reading it once, and that of a folder of TIFF files against libtiff alone.

#include "Table.h"

#include "../core/RepairBenching.h"
#include "Folder.h"

#include <orn/GetColorBitDepthFromDir.h>
#include <orn/Init.h>
#include <orn/SaveImageToFile.h>

#include <ep/DetectColorBitDepth.h>

#include <tiffio.h>

#include <memory>

using namespace benching;

namespace {

constexpr int files = 4;

void detectDepth(const ep::CxScopedBuffer& image)
{
    qint32 depth = 0;
    require(!ep::failed(ep::DetectColorBitDepth(image.image(), depth)), "DetectColorBitDepth");
    benchmark::DoNotOptimize(depth);
}

QString tiffName(const Folder& folder, int index)
{
    return folder.file(QString::number(index) + QStringLiteral(".tif"));
}

/** The samples of a file into new memory, by libtiff and nothing else. */
void readTiff(const QString& path, const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image(info);
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(qPrintable(path), "r"), &TIFFClose);
    require(tiff != nullptr && !ep::failed(image.allocate()), "opening a TIFF file");
    auto* samples = static_cast<unsigned char*>(image->data);
    const tmsize_t stripBytes = TIFFStripSize(tiff.get());
    for (tstrip_t strip = 0; strip < TIFFNumberOfStrips(tiff.get()); ++strip)
        require(TIFFReadEncodedStrip(tiff.get(), strip, samples + strip * stripBytes, stripBytes) > 0,
                "reading a TIFF file");
    benchmark::DoNotOptimize(samples);
}

void addFolder(Table& table)
{
    table.row(QStringLiteral("folder-depth"), [&table] {
        orn::Init();
        const Folder folder;
        const auto image = makeImage(table, ep::DataTypeUInt16);
        for (int i = 0; i < files; ++i)
            require(orn::SaveImageToFile(tiffName(folder, i), image.image(), nullptr, nullptr), "writing a TIFF file");
        const auto scan = [&folder] {
            int depth = 0;
            ep::ExImageDataType type = ep::DataTypeNone;
            require(orn::GetColorBitDepthFromDir(folder.path(), {}, &depth, &type, nullptr, nullptr)
                        == orn::ColorBitDepthFound,
                    "GetColorBitDepthFromDir");
        };
        const auto readAll = [&folder, &image] {
            for (int i = 0; i < files; ++i)
                readTiff(tiffName(folder, i), image.image());
        };
        table.inTurns({{"ours", timed(scan)}, {"libtiff", timed(readAll)}});
    });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    for (const ep::ExImageDataType type : {ep::DataTypeUInt8, ep::DataTypeUInt16})
        table.row(QStringLiteral("depth-%1").arg(ep::sampleFacts(type).bytes), [&table, type] {
            const auto image = makeImage(table, type);
            table.inTurns({{"ours", timed([&] { detectDepth(image); })},
                           {"read", timed([&] { benchmark::DoNotOptimize(readOnce(image.image())); })}});
        });
    addFolder(table);
}
