// A whole host on the installed library: reads an image file of any known format, says what it is, and saves it as MAT.
//
//   host IN OUT.mat
#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QFile>

#include <cstdio>

namespace {

void printRecord(const ep::SxImageInfo& image)
{
    std::printf("%d x %d, %d channel(s) of %s, %d bits", image.width, image.height, image.channels,
                ep::sampleFacts(image.dataType).name, image.bitDepth);
    std::printf("%s\n", image.bayerGrid == ep::BayerGridNone ? "" : ", a mosaic");
}

void printCapture(const ep::CxMetadata& metadata)
{
    const auto* common =
        qobject_cast<const ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    if (!common)
        return;
    std::printf("%s %s, %s\n", qPrintable(common->cameraMake), qPrintable(common->cameraModel),
                qPrintable(common->patternColors));
    if (common->exposureTime > 0)
        std::printf("%g s at ISO %g\n", common->exposureTime, common->iso);
}

// The largest sample of 16 bits, as an example of walking over them. Rows lie `stride` bytes apart.
int largestSample(const ep::SxImageBuf& image)
{
    if (image.dataType != ep::DataTypeUInt16 || image.channels != 1)
        return -1;
    int largest = 0;
    const char* row = static_cast<const char*>(image.data);
    for (int y = 0; y < image.height; ++y, row += image.stride) {
        const auto* samples = reinterpret_cast<const quint16*>(row);
        for (int x = 0; x < image.width; ++x)
            largest = samples[x] > largest ? samples[x] : largest;
    }
    return largest;
}

int fail(const QString& path, const ep::SxFileError& error)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(error.reason));
    return 1;
}

void printVariables(const QString& path)
{
    QVector<orn::matlab::MatVariable> variables;
    if (!orn::matlab::ListMatVariables(path, variables, nullptr))
        return;
    for (const orn::matlab::MatVariable& variable : variables)
        std::printf("%s: %s, %s\n", qPrintable(variable.name), qPrintable(variable.className),
                    qPrintable(variable.role));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: host IN OUT.mat\n");
        return 2;
    }
    const QString input = QFile::decodeName(argv[1]);
    const QString output = QFile::decodeName(argv[2]);

    // From here on MAT is one more format of the manager.
    orn::Init();

    // Frees the samples at the end of its scope.
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;
    if (!ep::CxImageFormatManager::loadImageFromFile(input, image.image(), &metadata, nullptr, &error))
        return fail(input, error);
    printRecord(image.image());
    printCapture(metadata);
    std::printf("largest sample: %d\n", largestSample(image.image()));

    // The suffix chooses the format. An old file stays whole unless the new one is complete and proved.
    const bool refuseReplace = false;
    if (!ep::CxImageFormatManager::saveImageToFile(output, image.image(), &metadata, nullptr, refuseReplace, QString(),
                                                   &error))
        return fail(output, error);
    printVariables(output);

    orn::Finish();
    return 0;
}
