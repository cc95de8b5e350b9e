// A host as small as can be: stores an image in a MAT file and reads it back.
#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <cstdio>

int main()
{
    orn::Init();

    ep::CxScopedBuffer image;
    image->width = 6;
    image->height = 4;
    image->channels = 1;
    image->bitDepth = 12;
    image->dataType = ep::DataTypeUInt16;
    if (ep::failed(image.allocate(true)) || ep::failed(ep::SetChannel(image.image(), 0, 4095)))
        return 1;

    const QString path = QStringLiteral("package-test.mat");
    ep::SxFileError error;
    if (!ep::CxImageFormatManager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error.reason));
        return 1;
    }
    ep::CxScopedBuffer back;
    if (!ep::CxImageFormatManager::loadImageFromFile(path, back.image(), nullptr))
        return 1;
    const bool same = ep::SameSamples(image.image(), back.image());
    std::printf("%d x %d, %d bit: %s\n", back->width, back->height, back->bitDepth, same ? "the same" : "different");
    return same ? 0 : 1;
}
