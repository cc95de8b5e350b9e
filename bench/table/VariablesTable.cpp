// MAT files of many variables: opening one against a single pass of matio over its headers, and images of many planes.

#include "Folder.h"
#include "Table.h"

#include <orn/Init.h>
#include <orn/SaveImageToFile.h>
#include <orn/matlab/AddImage.h>
#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatFile.h>

#include <ep/CxImageFormatManager.h>

#include <matio.h>

#include <memory>

using namespace benching;

namespace {

constexpr int edge = 8;

void load(const QString& path, int planes)
{
    ep::CxScopedBuffer image;
    bool isEntropy = false;
    require(orn::matlab::LoadImageFromMat(path, image.image(), isEntropy, nullptr) && image->channels == planes,
            "LoadImageFromMat");
}

void passOverHeaders(const QString& path, int variables)
{
    const std::unique_ptr<mat_t, int (*)(mat_t*)> mat(Mat_Open(qPrintable(path), MAT_ACC_RDONLY), &Mat_Close);
    require(mat != nullptr, "Mat_Open");
    int count = 0;
    while (matvar_t* const variable = Mat_VarReadNextInfo(mat.get())) {
        Mat_VarFree(variable);
        ++count;
    }
    require(count == variables, "passing over the headers");
}

/** An image of one plane as the last of so many variables. */
void writeVariables(const QString& path, int variables)
{
    const auto image = makeImage(ep::DataTypeUInt16, edge, edge);
    void* mat = orn::matlab::MatOpenWrite(path);
    double number = 1;
    bool isWritten = true;
    for (int i = 1; i < variables; ++i)
        isWritten = orn::matlab::AddVar(mat, &number, 1, 1, QStringLiteral("number_%1").arg(i)) && isWritten;
    ep::SxImageInfo written{};
    isWritten =
        orn::matlab::AddImage(mat, image.image(), QStringLiteral("ep_image"), true, written, false) && isWritten;
    require(orn::matlab::MatClose(mat) && isWritten, "writing many variables");
}

QString writePlanes(const Folder& folder, int planes)
{
    const QString path = folder.file(QStringLiteral("%1.mat").arg(planes));
    const auto image = makeImage(ep::DataTypeUInt16, edge, edge, planes, ep::LayoutPlanar);
    require(orn::SaveImageToFile(path, image.image(), nullptr, nullptr), "writing many planes");
    return path;
}

void addCounts(Table& table, int count)
{
    table.row(QStringLiteral("variables-%1").arg(count), [&table, count] {
        const Folder folder;
        const QString path = folder.file(QStringLiteral("many.mat"));
        writeVariables(path, count);
        table.inTurns(
            {{"ours", timed([&] { load(path, 1); })}, {"headers", timed([&] { passOverHeaders(path, count); })}});
    });
    table.row(QStringLiteral("planes-%1").arg(count), [&table, count] {
        const Folder folder;
        const QString path = writePlanes(folder, count);
        constexpr int metadata = 1;
        table.inTurns({{"ours", timed([&] { load(path, count); })},
                       {"headers", timed([&] { passOverHeaders(path, count + metadata); })}});
    });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    orn::Init();
    for (const int count : {1, 10, 100, 1000, 10000})
        addCounts(table, count);
    // A thousand planes ten times, and ten thousand once.
    table.row(QStringLiteral("planes-linear"), [&table] {
        const Folder folder;
        const QString ten = writePlanes(folder, 10000);
        const QString one = writePlanes(folder, 1000);
        table.inTurns({{"ours", timed([&] { load(ten, 10000); })}, {"thousand", timed([&] {
                                                                        for (int i = 0; i < 10; ++i)
                                                                            load(one, 1000);
                                                                    })}});
    });
}
