#include "Fuzzing.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzing::loadAsImage(data, size, "fits");
    return 0;
}
