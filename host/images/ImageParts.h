/**
 * @file
 * What an image is made of for people: its channels, or the colours of its mosaic.
 */
#pragma once

#include <ep/epcore.h>

#include <QPoint>
#include <QSize>
#include <QString>
#include <QVector>

/** The samples of channel `channel` at every step.width-th column and step.height-th row from `first` on. */
struct SamplePlace {
    int channel = 0;
    QPoint first;
    QSize step{1, 1};

    /** Where sample @p column, @p row of the place lies in the image. */
    QPoint inImage(int column, int row) const
    {
        return {first.x() + column * step.width(), first.y() + row * step.height()};
    }
};

/** A channel, or all places of one colour. */
struct ImagePart {
    QString name;  ///< "channel 1"; of mosaics R, G1, B, G2, or the colour, or "place 1" where colours are not known
    QVector<SamplePlace> places;
};

/**
 * The parts of an image, which together are all of its samples: its channels, or of a mosaic its colours in the order
 * R, G1, B, G2. A cell too large for a list gives the one channel. @p common may be null.
 */
QVector<ImagePart> imageParts(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common);

/** The channels of an image, also of a mosaic. */
QVector<ImagePart> channelParts(const ep::SxImageInfo& image);

/** A record over the memory of an image, for operations on one channel. Owns nothing. */
struct SampleView {
    ep::SxImageBuf image;
    int channel;
};

/** The samples of @p image at @p place; of imageParts() of @p image, or of another image of its size. */
SampleView samplesAt(const ep::SxImageBuf& image, const SamplePlace& place);
