/**
 * @file
 * What is to be said of an image.
 */
#pragma once

#include "Facts.h"

#include <ep/epcore.h>

/** An image in a few words: "1200 x 800, uint16, 14 bit, RGGB". */
QString briefText(const ep::SxImageInfo& image);

/** The depth that the file declares: the metadata's, else the record's. @p common may be null. */
int declaredDepth(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common);

/** The record: size, samples, declared depth, mosaic. @p common may be null. */
Facts recordFacts(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common);

/**
 * What the samples say: the bits that they use, their range, and the range of every channel or colour. Reads the whole
 * image. @p common may be null.
 */
Facts sampleFactsOf(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common);
