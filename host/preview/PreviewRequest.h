/**
 * @file
 * What `orn preview` was asked for, and what all of its kinds of pictures share.
 */
#pragma once

#include "Batch.h"
#include "Facts.h"

#include <ep/SxFileError.h>

#include <vector>

/** The command line of `orn preview`. */
struct PreviewRequest {
    QStringList files;  // what to draw, and last the picture where this is no batch
    BatchOptions batch;
    int channel = 0;  // counted from 1; 0: colours
    std::vector<int> zoom;
    bool histogram = false;
    bool logarithmic = false;
    bool contactSheet = false;
    bool json = false;

    QString input() const { return files.first(); }
    QString output() const { return files.last(); }
};

/** Draws one kind of picture; throws UsageError when the request does not fit the image. */
using DrawPreview = ExitCode (*)(const PreviewRequest& request, Output& output);

/** Says why @p file could not be read or written, and gives back @p code. */
ExitCode previewFailed(const PreviewRequest& request, const QString& file, const ep::SxFileError& error, ExitCode code,
                       Output& output);

/** Says that the picture of one image was written, and how it came about. */
void previewDone(const PreviewRequest& request, const Facts& facts, Output& output);
