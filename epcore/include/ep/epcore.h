/**
 * @file
 * Everything of epcore.
 */
#pragma once

#include <ep/AllocAndCopyBuffer.h>
#include <ep/AllocBuffer.h>
#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/ConvertPackPixelToPlanar.h>
#include <ep/ConvertPlanarRawToRaw.h>
#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/CxImageFormatManager.h>
#include <ep/CxImageHistogram.h>
#include <ep/CxMetadata.h>
#include <ep/CxRtti.h>
#include <ep/CxSafeFile.h>
#include <ep/CxScopedBuffer.h>
#include <ep/DetectColorBitDepth.h>
#include <ep/ExBayerGrid.h>
#include <ep/ExImageDataType.h>
#include <ep/ExStatus.h>
#include <ep/HistogramMasked.h>
#include <ep/IxData.h>
#include <ep/IxDataLoader.h>
#include <ep/IxDataSaver.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>
#include <ep/IxMetadataItem.h>
#include <ep/IxMetadataLoader.h>
#include <ep/IxMetadataSaver.h>
#include <ep/RawChannelsOffsets.h>
#include <ep/ReverseRowOrder.h>
#include <ep/SameSamples.h>
#include <ep/SampleRange.h>
#include <ep/SetChannel.h>
#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>
#include <ep/Transpose.h>
