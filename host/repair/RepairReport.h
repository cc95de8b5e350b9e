/**
 * @file
 * The report of a repair: a file that tells every repaired sample, and makes the repair repeatable.
 */
#pragma once

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QString>
#include <QStringList>
#include <QVector>

/** What a report holds. */
struct RepairReport {
    qint32 width = 0;
    qint32 height = 0;
    qint32 channels = 0;
    QString type;        ///< name of the sample type
    QString grid;        ///< of a mosaic, else "none"
    QStringList planes;  ///< what the planes are called, see planeNames()
    QVector<orn::SxRepairedSample> samples;
};

/** What the planes of orn::ImagePlanes() are called: "channel 1", or of a mosaic R, G1, B, G2, or "place 1". */
QStringList planeNames(const ep::SxImageInfo& image);

/** A report on @p image in which nothing was repaired. */
RepairReport reportOn(const ep::SxImageInfo& image);

/** Why @p report is not one on @p image: "it is on 32 x 24 pixels, not 30 x 8"; empty when it may be. */
QString differenceFrom(const RepairReport& report, const ep::SxImageInfo& image);

/** True for the names of files that reports are written to: *.csv and *.json. */
bool isReportName(const QString& file);

/**
 * Writes @p report to @p file, which is to be committed by its owner. The suffix of @p target chooses the form:
 * @verbatim
 *   CSV                               JSON
 *   # orn repair report: 1            {"schema": 1, "report": "repair", "version": 1,
 *   # width: 32                        "image": {"width": 32, "height": 24, "type": "uint16",
 *   # height: 24                                 "channels": 1, "grid": "RGGB",
 *   # type: uint16                               "planes": ["R", "G1", "B", "G2"]},
 *   # channels: 1                      "repaired": 1,
 *   # grid: RGGB                       "samples": [
 *   # planes: R,G1,B,G2               {"x": 6, "y": 2, "plane": "R", "old": 0, "new": 812}
 *   # repaired: 1                     ]}
 *   x,y,plane,old,new
 *   6,2,R,0,812
 * @endverbatim
 */
bool writeRepairReport(const RepairReport& report, const QString& target, ep::CxSafeFile& file, ep::SxFileError& error);

/** Reads a report in either form; the error names the line or the sample that is wrong. */
bool readRepairReport(const QString& file, RepairReport& report, ep::SxFileError& error);
