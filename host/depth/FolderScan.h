/**
 * @file
 * The colour depth of a folder, found while a person watches.
 */
#pragma once

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QStringList>

class Output;

/** What became of a scan. */
struct FolderDepth {
    unsigned int result = orn::ColorBitDepthFailed;  ///< of orn::GetColorBitDepthFromDir()
    int bitDepth = 0;                                ///< 0: not known
    ep::ExImageDataType dataType = ep::DataTypeNone;
    int files = 0;         ///< that match
    int checked = 0;       ///< of those; fewer only when it was cancelled
    QStringList failures;  ///< names of those that could not be read
    bool isCancelled = false;
};

/**
 * Finds the colour depth of the images in @p folder whose names match @p filters, on a thread of its own, and shows
 * progress unless @p quiet. An interrupt stops it after the file in work. @p protocol gets the messages.
 */
FolderDepth scanFolder(const QString& folder, const QStringList& filters, orn::Protocol& protocol, bool quiet,
                       Output& output);
