/**
 * @file
 * The module that brings the portable maps.
 */
#pragma once

#include <ep/CxRtti.h>

namespace ep {
namespace pnm {

/** Registers the loader and the saver of portable maps. pnm.json repeats what they serve. */
class PnmPlugin : public CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "pnm.json")
public:
    bool init() override;
};

/** File-dialog filter and rank of each kind of portable map. */
QList<QPair<QString, int>> pnmFormats();

}  // namespace pnm
}  // namespace ep
