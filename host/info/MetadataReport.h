/**
 * @file
 * What is to be said of an image's metadata.
 */
#pragma once

#include "Facts.h"

#include <ep/epcore.h>

/** The first item of the common metadata; null when there is none. Stays the container's. */
const ep::CxCommonImageMetadata* commonMetadata(const ep::CxMetadata& metadata);

/** The name of an item for people. */
QString itemTitle(const ep::IxMetadataItem& item);

/** What @p item holds, where its class is known here; what it does not know of the capture is left out. */
Facts itemFacts(const ep::IxMetadataItem& item);
