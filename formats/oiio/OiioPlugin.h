/**
 * @file
 * The module that brings the formats of OpenImageIO.
 */
#pragma once

#include <ep/CxRtti.h>

namespace ep {
namespace oiio {

/** Registers the loader and the saver. oiio.json, which is made when this is built, repeats what they serve. */
class OiioPlugin : public CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "oiio.json")
public:
    bool init() override;
};

}  // namespace oiio
}  // namespace ep
