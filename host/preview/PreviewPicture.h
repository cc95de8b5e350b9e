/**
 * @file
 * An image as a picture.
 */
#pragma once

#include "FileOutcome.h"
#include "PreviewRequest.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

/** A picture and how it was made. */
struct PreviewPicture {
    ep::CxScopedBuffer picture;
    orn::SxPreviewFacts facts;
    int orientation = 0;
    int enlargement = 1;
};

/**
 * Reads @p file and draws upright what @p request wants to see of it.
 * Throws UsageError when the image does not have what is asked for.
 */
bool readPicture(const QString& file, const PreviewRequest& request, PreviewPicture& preview, ep::SxFileError& error);

/** Draws @p input as @p output, as @p request wants to see it. Thread-safe; says nothing. */
FileOutcome previewFile(const PreviewRequest& request, const QString& input, const QString& output);

/** Draws one image; a DrawPreview. */
ExitCode drawPicture(const PreviewRequest& request, Output& output);
