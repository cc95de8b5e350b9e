/**
 * @file
 * Everything of orn_core, the MAT-file storage included.
 */
#pragma once

#include <orn/CompareChannel.h>
#include <orn/CxDefectSearch.h>
#include <orn/CxProgressInfo.h>
#include <orn/DefectList.h>
#include <orn/DefectMap.h>
#include <orn/DifferencePicture.h>
#include <orn/EnlargeImage.h>
#include <orn/FileImageLoader.h>
#include <orn/GetColorBitDepthFromDir.h>
#include <orn/GetLevelsToRepair.h>
#include <orn/HistogramChannel.h>
#include <orn/ImageLoader.h>
#include <orn/ImageModel.h>
#include <orn/ImagePlanes.h>
#include <orn/Init.h>
#include <orn/InvalidPixel.h>
#include <orn/LoadImageFromFile.h>
#include <orn/MarkPixels.h>
#include <orn/NonZeroPixels.h>
#include <orn/OrientImage.h>
#include <orn/PointsDistance.h>
#include <orn/PreviewImage.h>
#include <orn/Protocol.h>
#include <orn/RepairImage.h>
#include <orn/RepairPlanes.h>
#include <orn/ReplayRepairs.h>
#include <orn/SampleBits.h>
#include <orn/SaveImageToFile.h>
#include <orn/SegmentsIntersection.h>
#include <orn/SplitToPlusMinus.h>
#include <orn/SubtractImages.h>
#include <orn/matlab/AddImage.h>
#include <orn/matlab/CxMatlabImageLoader.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/CxMatlabImageSaver.h>
#include <orn/matlab/CxMatlabMetadataLoader.h>
#include <orn/matlab/CxMatlabMetadataSaver.h>
#include <orn/matlab/EntropyImage.h>
#include <orn/matlab/LoadImageFromMat.h>
#include <orn/matlab/MatFile.h>
#include <orn/matlab/MatVariables.h>
