/**
 * @file
 * The module that brings camera RAW files.
 */
#pragma once

#include <ep/CxRtti.h>

namespace ep {
namespace raw {

/** Registers the RAW loader. raw.json repeats what it serves. */
class RawPlugin : public CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "raw.json")
public:
    bool init() override;
};

}  // namespace raw
}  // namespace ep
