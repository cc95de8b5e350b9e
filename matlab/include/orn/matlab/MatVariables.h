/**
 * @file
 * What a MAT file holds.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxFileError.h>

#include <QString>
#include <QVector>

namespace orn {
namespace matlab {

/** One variable of a MAT file. A plain value. */
struct MatVariable {
    QString name;                 ///< its name
    QString className;            ///< MATLAB's class name: "uint16", "char", "struct"
    QVector<quint64> dimensions;  ///< rows, columns, ...
    bool isComplex = false;       ///< it has an imaginary part
    /**
     * What LoadImageFromMat() takes it for: "plane 1", "metadata", ...; empty: passed over. A plane of a class that is
     * not read, which fails the load, is "plane 1 (refused)".
     */
    QString role;
};

/**
 * Lists the variables of the MAT file @p path in their order, each with what LoadImageFromMat() would read it as.
 * @param variables receives the list; untouched on failure
 * @param reason    may be null; receives why the file cannot be read
 */
ORN_EXPORT bool ListMatVariables(QString const& path, QVector<MatVariable>& variables, QString* reason);
/** The same; @p error tells what kind of failure it is as well. */
ORN_EXPORT bool ListMatVariables(QString const& path, QVector<MatVariable>& variables, ep::SxFileError& error);

}  // namespace matlab
}  // namespace orn
