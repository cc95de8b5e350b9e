/**
 * @file
 * Lists of defective pixels, and the plain text files that they are kept in.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxMetadata.h>
#include <ep/SxFileError.h>

#include <QVector>

namespace orn {

/** What is wrong with a pixel. */
enum ExDefectKind : qint32 {
    DefectUntold = 0,  ///< a list does not say
    DefectHot = 1,     ///< brighter than its surroundings
    DefectDead = 2,    ///< darker than its surroundings
    DefectStuck = 3    ///< the same value in every frame
};

/** A defective pixel. */
struct SxDefect {
    qint32 x = 0;                ///< column; 0 is the leftmost of the image
    qint32 y = 0;                ///< row; 0 is the topmost of the image
    qint32 kind = DefectUntold;  ///< an ExDefectKind
    qint64 since = 0;            ///< UNIX time from which on it is defective; 0: always
};

/** Where the top-left sample of an image lies on its sensor. */
struct SxSensorOrigin {
    bool isKnown = false;  ///< false: x and y mean nothing
    qint32 x = 0;          ///< sensor columns left of the image
    qint32 y = 0;          ///< sensor rows above the image
};

/** The defective pixels of a sensor, seen from one image of it. */
struct SxDefectList {
    QVector<SxDefect> defects;  ///< in coordinates of the image; negative ones lie on the sensor outside of it
    SxSensorOrigin origin;      ///< of that image
};

/** What the numbers in a file count from. */
enum ExDefectCoordinates {
    DefectCoordinatesImage,  ///< the top-left sample of the image as it is opened
    DefectCoordinatesSensor  ///< the top-left sample of the whole sensor, margins included
};

/**
 * Reads a list of the kind that RAW developers use: lines "x y time" with column, row and the UNIX time since when the
 * pixel is bad (0, or nothing: always). What follows a '#' is a comment. A kind stands in the comment of its line.
 * @verbatim
 *   # coordinates: sensor
 *   # image origin on the sensor: 12 8
 *   16 50 0  # hot
 *   90 61 1700000000  # dead
 * @endverbatim
 * A list without such leading comments is one in the coordinates of the image as it is opened, and its origin is not
 * known. One in coordinates of the sensor that states no origin is that of an image that begins at 0, 0.
 *
 * Text in UTF-8, with or without its mark, and either kind of line ends are taken. Anything else than numbers of
 * up to 2^30 (a time: up to 10^15) is refused, and so are files of more than 256 MiB or 2^23 defects.
 *
 * @param list  filled on success, else left alone
 * @param error  why not; names the line
 */
ORN_EXPORT bool readDefectList(const QString& fileName, SxDefectList& list, ep::SxFileError& error);

/**
 * Writes such a list. The old file is replaced only when the new one is complete.
 * @param coordinates  what to count from; those of the sensor need a known origin
 * @param refuseReplace  true fails when the file exists
 */
ORN_EXPORT bool writeDefectList(const QString& fileName, const SxDefectList& list, ExDefectCoordinates coordinates,
                                bool refuseReplace, ep::SxFileError& error);

/**
 * The defects of @p list in coordinates of another image of the same sensor, which begins at @p image; some may lie
 * outside of it. Where either origin is not known, both images are taken to begin at the same place.
 */
ORN_EXPORT QVector<SxDefect> defectsSeenFrom(const SxSensorOrigin& image, const SxDefectList& list);

/**
 * The defects of both lists, row by row and each place once. Of a place in both, the time is that of @p older and the
 * kind, where it tells one, that of @p newer.
 */
ORN_EXPORT QVector<SxDefect> uniteDefects(const QVector<SxDefect>& older, const QVector<SxDefect>& newer);

/** What the metadata of an image says of where it lies on the sensor. */
ORN_EXPORT SxSensorOrigin sensorOrigin(const ep::CxMetadata& metadata);

/** "hot", "dead", "stuck"; empty for any other kind. */
ORN_EXPORT QString defectKindName(qint32 kind);

}  // namespace orn
