// Images of 16-bit samples in MAT files in memory, their rows reversed, against plain files, SciPy and Octave; and the
// most memory that is in use meanwhile.

#include "Folder.h"
#include "PeakMemory.h"
#include "Peer.h"
#include "PlainFile.h"
#include "Table.h"

#include <orn/Init.h>
#include <orn/SaveImageToFile.h>
#include <orn/matlab/AddImage.h>
#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatFile.h>

#include <memory>

using namespace benching;

namespace {

constexpr auto u16 = ep::DataTypeUInt16;

void writeMat(const QString& path, const ep::CxScopedBuffer& image)
{
    void* mat = orn::matlab::MatOpenWrite(path);
    ep::SxImageInfo written{};
    const bool isWritten = orn::matlab::AddImage(mat, image.image(), QStringLiteral("ep_image"), true, written, false);
    require(orn::matlab::MatClose(mat) && isWritten, "AddImage");
}

ep::CxScopedBuffer readMat(const QString& path)
{
    ep::CxScopedBuffer image;
    bool isEntropy = false;
    require(orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, nullptr), "LoadImageFromMat");
    return image;
}

/** Into a new file, as every turn is: what an old one costs to remove is not counted. */
template <typename Work>
double secondsOfWriting(const QString& path, Work&& work)
{
    QFile::remove(path);
    return secondsOf(work);
}

/** An image that the caller releases when the time has been taken. */
template <typename Work>
double secondsOfReading(Work&& work)
{
    ep::CxScopedBuffer image;
    return secondsOf([&] { image = work(); });
}

ep::CxScopedBuffer readPlainImage(const QString& path, const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image(info);
    QFile file(path);
    require(!ep::failed(image.allocate()) && file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
                && file.read(static_cast<char*>(image->data), qint64(storageBytes(info))) == qint64(storageBytes(info)),
            "reading a plain file");
    return image;
}

/** As readPlainImage(), into memory as programs get it that do not ask for huge pages. */
double secondsOfReadingToSmallPages(const QString& path, const ep::SxImageInfo& info)
{
    std::unique_ptr<char[]> samples;
    return secondsOf([&] {
        samples.reset(new char[storageBytes(info)]);
        QFile file(path);
        require(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
                    && file.read(samples.get(), qint64(storageBytes(info))) == qint64(storageBytes(info)),
                "reading a plain file");
    });
}

void addWriting(Table& table)
{
    struct Kind {
        const char* name;
        ep::ExImageDataType type;
        int channels;
    };
    for (const Kind& kind : {Kind{"mat-write-2", u16, 1}, Kind{"mat-write-1x3", ep::DataTypeUInt8, 3}})
        table.row(QLatin1String(kind.name), [&table, kind] {
            const auto layout = kind.channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked;
            const auto image = makeImage(table, kind.type, kind.channels, layout);
            const Folder folder;
            const QString mat = folder.file(QStringLiteral("image.mat"));
            const QString plain = folder.file(QStringLiteral("plain"));
            const QString ofSciPy = folder.file(QStringLiteral("scipy.mat"));
            Peer sciPy({QStringLiteral(ORN_PYTHON), QStringLiteral(ORN_SCIPY_PEER), QStringLiteral("save"), ofSciPy,
                        QString::fromLatin1(ep::sampleFacts(kind.type).name), QString::number(image->height),
                        QString::number(image->width), QString::number(kind.channels)});
            std::vector<Contestant> contestants = {
                {"ours", [&] { return secondsOfWriting(mat, [&] { writeMat(mat, image); }); }},
                {"write", [&] {
                     return secondsOfWriting(
                         plain, [&] { require(writePlain(plain, image.image()), "writing a plain file"); });
                 }}};
            if (kind.type == u16)
                contestants.push_back({"scipy", [&] { return sciPy.seconds(); }});
            table.inTurns(contestants);
        });
}

void addReading(Table& table)
{
    table.row(QStringLiteral("mat-read-2"), [&table] {
        orn::Init();
        const Folder folder;
        const QString mat = folder.file(QStringLiteral("image.mat"));
        const QString plain = folder.file(QStringLiteral("plain"));
        const auto image = makeImage(table, u16);
        require(orn::SaveImageToFile(mat, image.image(), nullptr, nullptr) && writePlain(plain, image.image()),
                "writing the files to be read");
        const ep::CxScopedBuffer loaded = readMat(mat);
        require(std::memcmp(loaded->data, image->data, storageBytes(image.image())) == 0, "reading the same samples");
        Peer sciPy({QStringLiteral(ORN_PYTHON), QStringLiteral(ORN_SCIPY_PEER), QStringLiteral("load"), mat});
        Peer octave({QStringLiteral(ORN_OCTAVE), QStringLiteral("--no-gui"), QStringLiteral("--norc"),
                     QStringLiteral("--no-history"), QStringLiteral("--quiet"), QStringLiteral(ORN_OCTAVE_PEER), mat});
        table.inTurns({{"ours", [&] { return secondsOfReading([&] { return readMat(mat); }); }},
                       {"read", [&] { return secondsOfReading([&] { return readPlainImage(plain, image.image()); }); }},
                       {"small-pages", [&] { return secondsOfReadingToSmallPages(plain, image.image()); }},
                       {"scipy", [&] { return sciPy.seconds(); }},
                       {"octave", [&] { return octave.seconds(); }}});
    });
}

ep::CxScopedBuffer makePlanes(const Table& table, int planes)
{
    return makeImage(table, u16, planes, planes > 1 ? ep::LayoutPlanar : ep::LayoutPacked);
}

/** Bytes in use at the most, those of the caller's image included. */
template <typename Work>
double peakOf(size_t ofTheCaller, Work&& work)
{
    const qint64 rise = peakMemoryOf(work);
    require(rise >= 0, "measuring the peak of memory");
    return double(ofTheCaller) + double(rise);
}

void addWritingMemory(Table& table, int planes)
{
    table.row(QStringLiteral("memory-write-%1").arg(planes), [&table, planes] {
        const auto image = makePlanes(table, planes);
        const size_t bytes = storageBytes(image.image());
        const Folder folder;
        const QString path = folder.file(QStringLiteral("image.mat"));
        table.inTurns({{"ours",
                        [&] {
                            QFile::remove(path);
                            return peakOf(bytes, [&] { writeMat(path, image); });
                        }},
                       {"image", [&] { return double(bytes); }}});
    });
}

void addReadingMemory(Table& table, const QString& kind, int planes, ep::ExBayerGrid grid)
{
    table.row(QStringLiteral("memory-read-") + kind, [&table, planes, grid] {
        orn::Init();
        const Folder folder;
        const QString path = folder.file(QStringLiteral("image.mat"));
        size_t bytes = 0;
        {
            auto image = makePlanes(table, planes);
            image->bayerGrid = grid;
            bytes = storageBytes(image.image());
            require(orn::SaveImageToFile(path, image.image(), nullptr, nullptr), "writing the file to be read");
        }
        table.inTurns(
            {{"ours", [&] { return peakOf(0, [&] { readMat(path); }); }}, {"image", [&] { return double(bytes); }}});
    });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    addWriting(table);
    addReading(table);
    for (const int planes : {1, 3, 4}) {
        addWritingMemory(table, planes);
        addReadingMemory(table, QString::number(planes), planes, ep::BayerGridNone);
    }
    addReadingMemory(table, QStringLiteral("mosaic"), 1, ep::BayerGridRGGB);
}
