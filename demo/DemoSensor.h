/**
 * @file
 * The camera that takes the demonstration capture.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/CxScopedBuffer.h>

#include <QString>

namespace demo {

/** A capture: the mosaic and what the camera says about it. */
struct Capture {
    ep::CxScopedBuffer mosaic;
    ep::CxMetadata metadata;
};

/**
 * Takes the capture through the colour-filter pattern @p pattern (RGGB, BGGR, GBRG, GRBG or X-Trans): 14 bits, with
 * vignetting, photon and read noise, and hot and dead pixels. The same samples on every machine. False when there is no
 * such pattern or no memory.
 */
bool takeCapture(const QString& pattern, Capture& capture);

}  // namespace demo
