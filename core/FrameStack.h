/**
 * @file
 * Many frames, kept as a sum and two extremes per sample.
 */
#pragma once

#include <ep/CxScopedBuffer.h>
#include <ep/internal/PlaneView.h>

#include <vector>

namespace orn {

/** Every (cellWidth, cellHeight)-th sample of a channel from (left, top) on, samples of partial cells included. */
struct StackPlane {
    qint32 channel;
    qint32 left;
    qint32 top;
    qint32 cellWidth;
    qint32 cellHeight;

    template <typename Byte>
    ep::internal::BasicPlaneView<Byte> of(const ep::internal::BasicPlaneView<Byte>& channelView) const
    {
        return {channelView.sample(left, top), channelView.rowBytes * cellHeight, channelView.pixelStep * cellWidth,
                (channelView.width - left + cellWidth - 1) / cellWidth,
                (channelView.height - top + cellHeight - 1) / cellHeight};
    }
};

/** Adds up frames of one size and type; memory does not depend on their number. */
class FrameStack {
public:
    /** Adds a frame that is like the first one; an ExStatus. */
    unsigned int add(const ep::SxImageBuf& frame);

    int frames() const { return m_frames; }
    /** Of the first frame; the layout is that of the sums. */
    const ep::SxImageInfo& description() const { return m_least.image(); }

    /** Mean of the samples of row @p y over the frames; of three or more without the largest and the smallest. */
    void meanRow(const StackPlane& plane, qint32 y, double* row) const;
    /** Smallest and largest value of the samples of row @p y. */
    void extremeRows(const StackPlane& plane, qint32 y, double* least, double* most) const;

private:
    unsigned int start(const ep::SxImageBuf& frame);
    bool isLikeFirst(const ep::SxImageBuf& frame) const;

    ep::CxScopedBuffer m_sum;
    ep::CxScopedBuffer m_least;
    ep::CxScopedBuffer m_most;
    int m_frames = 0;
};

}  // namespace orn
