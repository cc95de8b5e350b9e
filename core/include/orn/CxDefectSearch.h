/**
 * @file
 * Finding the defective pixels of a sensor.
 */
#pragma once

#include <orn/DefectList.h>

#include <ep/SxImageBuf.h>

#include <QVector>

#include <memory>

namespace orn {

class FrameStack;

/** How defects are told from noise. */
struct SxDefectLimits {
    double sigma = 5;     ///< deviations above this many sigma are defects
    bool isFlat = false;  ///< the frames are evenly lit ones: deviations are judged as fractions of the light around
};

/** What was found in one plane: a colour of a mosaic, or a channel of another image. */
struct SxDefectPlane {
    qint32 plane = 0;          ///< which one of ImagePlanes()
    qint64 samples = 0;        ///< of one frame
    double background = 0;     ///< median over the plane
    double sigma = 0;          ///< median over the plane of the noise that deviations are judged by; for flat
                               ///< frames a fraction of the background
    double temporalNoise = 0;  ///< median over the plane of the noise from frame to frame; 0 for one frame
    bool tellsStuck = false;   ///< the noise from frame to frame is large enough to tell stuck pixels from chance
    qint64 hot = 0;            ///< pixels of each kind
    qint64 dead = 0;
    qint64 stuck = 0;
};

/**
 * Finds hot, dead and stuck pixels in dark or flat frames, which are added one by one: what is kept is a sum and two
 * extremes per sample, however many frames there are.
 *
 * The frames' mean without each sample's largest and smallest value (the plain mean of fewer than three frames) is
 * taken colour plane by colour plane. A smooth background, interpolated between the medians of tiles of 16 x 16
 * samples, is subtracted. What then deviates by more than the limit times 1.4826 x the median absolute deviation of its
 * surroundings, tiles of 32 x 32 samples, is hot or dead. A pixel with the same value in every frame is stuck where
 * fewer than 0.01 pixels of the whole frame would be expected to do so by chance, unless clipping explains it. A sample
 * that is not a finite number makes its pixel dead. docs/defects.md tells the method with its formulas.
 *
 * Not thread-safe.
 */
class ORN_EXPORT CxDefectSearch {
public:
    CxDefectSearch();
    ~CxDefectSearch();
    CxDefectSearch(const CxDefectSearch&) = delete;
    CxDefectSearch& operator=(const CxDefectSearch&) = delete;

    /**
     * Adds a frame. Nothing is kept of a frame that is refused.
     * @return ep::StatusOk; ep::StatusGeometryMismatch when it has another size, sample type, number of channels or
     * colour-filter grid than the first frame; ep::StatusSizeOverflow after 65,535 frames; or what is wrong with it
     */
    unsigned int addFrame(const ep::SxImageBuf& frame);

    /** Number of frames so far. */
    int frames() const;

    /**
     * Judges what was added so far; frames may still be added afterwards.
     *
     * @param defects  becomes the defects row by row; a pixel is one defect, however many of its channels are
     * @param planes  becomes the planes, channel by channel
     * @return ep::StatusOk; ep::StatusInvalidArgument without frames, for a limit that is not above 0, and for flat
     * frames without light; ep::StatusOutOfMemory. The two vectors are left alone on failure
     */
    unsigned int result(const SxDefectLimits& limits, QVector<SxDefect>& defects, QVector<SxDefectPlane>& planes) const;

private:
    std::unique_ptr<FrameStack> m_stack;
};

}  // namespace orn
