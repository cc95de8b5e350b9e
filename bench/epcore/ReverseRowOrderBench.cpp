#include <ep/ReverseRowOrder.h>

#include "AgainstMemcpy.h"

namespace {

/** Turns an image upside down in place. */
void reverseRows(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    ep::CxScopedBuffer image = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] { ep::ReverseRowOrder(image.image()); });
}

}  // namespace

BENCHMARK(reverseRows)->Apply(benching::eachSampleSize);
