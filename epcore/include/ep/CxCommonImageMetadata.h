/**
 * @file
 * What is commonly known of a camera image.
 */
#pragma once

#include <ep/IxMetadataItem.h>

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QVector>

namespace ep {

/**
 * The metadata that every format shares. A plain holder: members are public; a member that the file did not state keeps
 * its default, which always means "not known".
 */
class EP_EXPORT CxCommonImageMetadata : public IxMetadataItem {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Common Image Metadata")
public:
    Q_INVOKABLE CxCommonImageMetadata();
    IxMetadataItem* clone() const override;

    // How the image was laid out.
    qint32 bayerGrid = 4;      ///< ExBayerGrid of the image; 4: no mosaic
    qint32 layout = 0;         ///< layout (ExImageLayout) of the image when it was saved
    qint32 patternWidth = 0;   ///< columns of the colour-filter cell of a grid 5 mosaic
    qint32 patternHeight = 0;  ///< rows of that cell
    qint32 colorBitDepth = 0;  ///< significant bits per sample as the source declared them; 0: not known
    QString patternColors;     ///< colours of the cell row by row, one letter each, such as "RGGB"; empty: not known

    // Where the image lies on the sensor.
    qint32 sensorWidth = 0;   ///< columns of the whole sensor, margins included; 0: not known
    qint32 sensorHeight = 0;  ///< rows of the whole sensor
    qint32 leftMargin = 0;    ///< sensor columns left of the image handed out
    qint32 topMargin = 0;     ///< sensor rows above the image handed out

    // What the samples mean.
    QVector<double> blackLevels;   ///< level of no light: one for all planes, or one per colour plane R, G1, B, G2
                                   ///< (per cell position, row by row, for grid 5); empty: not known
    double whiteLevel = 0;         ///< level of saturation; 0: not known
    QVector<double> whiteBalance;  ///< multipliers for R, G, B that make grey grey, green = 1; empty: not known
    QVector<double> colorMatrix;   ///< XYZ (D65) to camera RGB, 3 x 3 row by row; empty: not known

    // How the picture was taken.
    QString cameraMake;       ///< maker of the camera
    QString cameraModel;      ///< model of the camera
    double exposureTime = 0;  ///< seconds; 0: not known
    double aperture = 0;      ///< f-number; 0: not known
    double iso = 0;           ///< ISO speed; 0: not known
    double focalLength = 0;   ///< millimetres; 0: not known
    QDateTime captureTime;    ///< when the picture was taken, in the time zone of the file; invalid: not known
    qint32 orientation = 0;   ///< Exif orientation 1 to 8 that a viewer should apply; 0: not known. Samples are
                              ///< always handed out as stored

    QMap<QString, QString> attributes;  ///< anything else the file says, by the name it has there
};

}  // namespace ep
