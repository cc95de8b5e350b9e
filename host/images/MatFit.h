/**
 * @file
 * What of an image a MAT file can hold.
 */
#pragma once

#include <ep/epcore.h>

#include <QString>
#include <QStringList>

/** How an image is to be stored in a MAT file. */
struct MatTarget {
    QString entropyPrefix;  ///< base name of an entropy image; empty: an ordinary image
    bool lossy = false;     ///< samples may be lost
};

/**
 * Makes @p image, which stays the memory of its owner, fit @p target: a mosaic is stored plane by plane, so it ends
 * with its last whole cell. Says in @p notes what is lost.
 * @return false, with @p error set, when something would be lost that may not be
 */
bool fitIntoMat(const MatTarget& target, ep::SxImageBuf& image, QStringList& notes, ep::SxFileError& error);

/** Why @p name is not to be the base name of variables; empty when it may be one. */
QString refusedBaseName(const QString& name);
