/**
 * @file
 * What people call the colour-filter grids, and a person's word on which one an image has.
 */
#pragma once

#include <ep/epcore.h>

#include <QSize>
#include <QString>
#include <QStringList>

/** The names that --cfa takes. */
QStringList gridNames();
/** The code of one of gridNames(). */
ep::ExBayerGrid gridFromName(const QString& name);
/** "RGGB" and the like, "6 x 6 cell", "none". */
QString gridName(const ep::SxImageInfo& image);

/** True for one channel under a colour-filter grid. */
bool isMosaic(const ep::SxImageInfo& image);
/** Size of the colour-filter cell; empty when there is none. */
QSize cellSize(const ep::SxImageInfo& image);
/** Colours of the cell row by row, such as "RGGB"; empty when they are not known. @p common may be null. */
QString cellColors(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common);

/**
 * Declares the one-channel image @p image to have the grid @p grid, in its record and in its metadata. Black levels
 * stay with the places of the cell that they were stated for; where they cannot, they are forgotten.
 * @return false when they were forgotten
 */
bool overrideGrid(ep::ExBayerGrid grid, ep::SxImageInfo& image, ep::CxMetadata& metadata);
