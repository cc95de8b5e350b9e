#include "Fuzzing.h"

#include <ep/CxMetadata.h>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    ep::CxMetadata metadata;
    const bool isLoaded = metadata.loadFromXml(text);
    const QString saved = metadata.saveToXml(-1);
    fuzzing::outcome().add(isLoaded);
    fuzzing::outcome().add(saved);
    if (!isLoaded)
        return 0;
    fuzzing::outcome().setAccepted();
    ep::CxMetadata again;
    fuzzing::require(again.loadFromXml(saved), "saved metadata can be loaded");
    fuzzing::require(again.saveToXml(-1) == saved, "metadata stays as it is from the second saving on");
    const ep::CxMetadata copy(metadata);
    fuzzing::require(copy.saveToXml(2) == metadata.saveToXml(2), "a copy of metadata is saved alike");
    return 0;
}
