/**
 * @file
 * Image files at the two ends of a command's work.
 */
#pragma once

#include <ep/epcore.h>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

/** An image on its way from the input to the output. */
struct Picture {
    ep::CxScopedBuffer storage;
    ep::SxImageBuf image = ep::emptyImage();  ///< what is written, in the memory of storage
    ep::CxMetadata metadata;
    QStringList notes;  ///< what there is to say of it: what was dropped, what is not kept
};

/** Reads @p file; false, with @p error set, when that fails. Thread-safe, like all below. */
bool loadPicture(const QString& file, const QMap<QString, QVariant>& options, Picture& picture, ep::SxFileError& error);

/** Finds at once what would only show after the input was read: a folder, or a suffix that no format is written in. */
bool canBeWritten(const QString& path, ep::SxFileError& error);

/** Adds to the notes of @p picture what a file named @p output does not keep, though it keeps all samples. */
void noteWhatIsNotKept(const QString& output, Picture& picture);
