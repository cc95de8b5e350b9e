/**
 * @file
 * Base of everything that reads images from files.
 */
#pragma once

#include <ep/CxImageHistogram.h>
#include <ep/IxDataLoader.h>
#include <ep/SxImageBuf.h>

#include <QRect>
#include <QSize>

namespace ep {

class CxImageData;

/**
 * Reads images. Registered under "IxImageDataLoader". Everything but imageData() has a working default that is computed
 * from the image that imageData() gives. The order of the virtual functions is part of the interface.
 */
class EP_EXPORT IxImageDataLoader : public IxDataLoader {
    Q_OBJECT
public:
    explicit IxImageDataLoader(QObject* parent = nullptr);
    ~IxImageDataLoader() override;

    /** imageData() of an open loader; null when it is closed or has no such frame. */
    IxData* data(int frame) override;

    /** A new copy of image @p frame with its metadata, owned by the caller; null when there is none. Call it while
     * open. */
    virtual CxImageData* imageData(int frame) = 0;
    /**
     * As imageData(), cut to the part of @p roi that lies in the image. Null when nothing is left. A mosaic keeps its
     * grid true: the grid code is that of the part's own top-left sample.
     */
    virtual CxImageData* dataRoi(const QRect& roi, int frame);
    /** Frames per second; 0.0: a still. */
    virtual double frameRate() const;
    /** True when frames can be asked for in any order. */
    virtual bool hasRandomAccess() const;
    /** Counts the levels of image @p frame into @p histogram (channels x 2^bitDepth, at most 65,536 levels). */
    virtual bool loadHistogram(int frame, CxImageHistogram& histogram);
    /**
     * A copy of image @p frame scaled down by whole steps until it fits into @p size, owned by the caller; each pixel
     * is the nearest sample, and a mosaic is stepped by whole cells so that it stays a mosaic. Null when there is no
     * image or
     * @p size is empty.
     */
    virtual CxImageData* loadThumbnail(int frame, const QSize& size);
    /** As dataRoi(), the samples alone; @p image must be empty and is the caller's to free. */
    virtual bool loadRoi(const QRect& roi, int frame, SxImageBuf& image);
    /** Copies the metadata of image @p frame into @p metadata; false when there is no such image. */
    virtual bool loadMetadata(int frame, CxMetadata& metadata);
    /** Copies what holds for the whole file into @p metadata; the default is the metadata of the first image. */
    virtual bool globalMetadata(CxMetadata& metadata);
};

}  // namespace ep
