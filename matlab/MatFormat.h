/**
 * @file
 * The MAT format, as its loader and its saver announce it.
 */
#pragma once

#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QVariant>

namespace orn {
namespace matlab {

/** The one entry of formats(): the filter of file dialogs, and the rank. */
QList<QPair<QString, int>> matFormats();

/** The base name of the image variables that @p options ask for; "ep_image" when they ask for none or an empty one. */
QString matName(const QMap<QString, QVariant>& options);

}  // namespace matlab
}  // namespace orn
