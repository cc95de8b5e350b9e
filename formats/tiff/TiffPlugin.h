/**
 * @file
 * The module that brings TIFF and DNG.
 */
#pragma once

#include <ep/CxRtti.h>

namespace ep {
namespace tiff {

/** Registers the loaders and savers of TIFF and DNG. tiff.json repeats what they serve. */
class TiffPlugin : public CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "tiff.json")
public:
    bool init() override;
};

}  // namespace tiff
}  // namespace ep
