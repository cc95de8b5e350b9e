/**
 * @file
 * The module that brings FITS files.
 */
#pragma once

#include <ep/CxRtti.h>

namespace ep {
namespace fits {

/** Registers the loader and the saver of FITS files. fits.json repeats what they serve. */
class FitsPlugin : public CxPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ep.CxPlugin/1" FILE "fits.json")
public:
    bool init() override;
};

/** File-dialog filter and rank of the files that are written. */
QList<QPair<QString, int>> writtenFormats();

/** File-dialog filter and rank of the files that are read. */
QList<QPair<QString, int>> readFormats();

}  // namespace fits
}  // namespace ep
