/**
 * @file
 * Many frames, kept as a sum and two extremes per sample.
 */
#pragma once

#include <orn/ImagePlanes.h>

#include <ep/CxScopedBuffer.h>
#include <ep/internal/PlaneView.h>

#include <vector>

namespace orn {

/** The samples of @p plane in the view of its channel, those of partial cells included. */
template <typename Byte>
ep::internal::BasicPlaneView<Byte> samplesOf(const SxImagePlane& plane,
                                             const ep::internal::BasicPlaneView<Byte>& channel)
{
    const auto count = [](qint32 size, qint32 first, qint32 step) { return (size - first + step - 1) / step; };
    return {channel.sample(plane.left, plane.top), channel.rowBytes * plane.stepY, channel.pixelStep * plane.stepX,
            count(channel.width, plane.left, plane.stepX), count(channel.height, plane.top, plane.stepY)};
}

/** Adds up frames of one size and type; memory does not depend on their number. */
class FrameStack {
public:
    /** Adds a frame that is like the first one; an ExStatus. */
    unsigned int add(const ep::SxImageBuf& frame);

    int frames() const { return m_frames; }
    /** Of the first frame; the layout is that of the sums. */
    const ep::SxImageInfo& description() const { return m_least.image(); }

    /** Mean of the samples of row @p y over the frames; of three or more without the largest and the smallest. */
    void meanRow(const SxImagePlane& plane, qint32 y, double* row) const;
    /** Smallest and largest value of the samples of row @p y. */
    void extremeRows(const SxImagePlane& plane, qint32 y, double* least, double* most) const;

private:
    unsigned int start(const ep::SxImageBuf& frame);
    bool isLikeFirst(const ep::SxImageBuf& frame) const;

    ep::CxScopedBuffer m_sum;
    ep::CxScopedBuffer m_least;
    ep::CxScopedBuffer m_most;
    int m_frames = 0;
};

}  // namespace orn
