#include "Fuzzing.h"

#include <orn/FileImageLoader.h>

#include <ep/CxScopedBuffer.h>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString path = fuzzing::inputFile(data, size, "txt");
    ep::CxScopedBuffer image;
    QString message;
    const bool isLoaded =
        orn::FileImageLoader().loadImage({{QStringLiteral("filename"), path}}, image.image(), &message);
    fuzzing::require(isLoaded == (image->data != nullptr), "what is loaded is an image");
    fuzzing::require(isLoaded || !message.isEmpty(), "a failure has a reason");
    fuzzing::outcome().add(isLoaded);
    fuzzing::outcome().add(image.image());
    return 0;
}
