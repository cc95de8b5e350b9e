#include <orn/CxDefectSearch.h>

#include "FrameStack.h"
#include "JudgePlane.h"

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/MosaicCell.h>

#include <cmath>

namespace orn {

namespace {

using ep::internal::MosaicCell;

// Of a colour-filter cell; anything larger is no colour filter.
constexpr qint64 mostPlanes = 256;

/** The planes that are judged by themselves: colours of a mosaic, channels of any other image. */
QVector<StackPlane> planesOf(const ep::SxImageInfo& frame)
{
    QVector<StackPlane> planes;
    const MosaicCell cell = MosaicCell::of(frame, frame.bayerGrid);
    const bool isMosaic = frame.channels == 1 && cell.isValid() && frame.bayerGrid != ep::BayerGridNone
                          && cell.planes() <= mostPlanes && cell.width <= frame.width && cell.height <= frame.height;
    if (!isMosaic) {
        for (qint32 channel = 0; channel < frame.channels; ++channel)
            planes.append({channel, 0, 0, 1, 1});
        return planes;
    }
    for (qint32 plane = 0; plane < cell.planes(); ++plane) {
        const ep::internal::CellPosition place = cell.position(plane);
        planes.append({0, place.column, place.row, cell.width, cell.height});
    }
    return planes;
}

QVector<SxDefect> defectsIn(const ep::SxImageBuf& kinds)
{
    QVector<SxDefect> defects;
    const ep::internal::ConstPlaneView view = ep::internal::planeView(kinds, 0);
    for (qint32 y = 0; y < view.height; ++y)
        for (qint32 x = 0; x < view.width; ++x)
            if (const qint32 kind = *view.sample(x, y))
                defects.append({x, y, kind, 0});
    return defects;
}

}  // namespace

CxDefectSearch::CxDefectSearch() : m_stack(std::make_unique<FrameStack>()) {}

CxDefectSearch::~CxDefectSearch() = default;

unsigned int CxDefectSearch::addFrame(const ep::SxImageBuf& frame)
{
    return m_stack->add(frame);
}

int CxDefectSearch::frames() const
{
    return m_stack->frames();
}

unsigned int CxDefectSearch::result(const SxDefectLimits& limits, QVector<SxDefect>& defects,
                                    QVector<SxDefectPlane>& planes) const
{
    if (frames() == 0 || !(limits.sigma > 0) || !std::isfinite(limits.sigma))
        return ep::StatusInvalidArgument;
    ep::CxScopedBuffer kinds(m_stack->description());
    kinds->dataType = ep::DataTypeUInt8;
    kinds->channels = 1;
    kinds->stride = 0;
    const unsigned int status = kinds.allocate(true);
    if (ep::failed(status))
        return status;
    const QVector<StackPlane> stackPlanes = planesOf(m_stack->description());
    QVector<SxDefectPlane> answers;
    for (int i = 0; i < stackPlanes.size(); ++i) {
        SxDefectPlane answer;
        answer.channel = stackPlanes[i].channel;
        answer.plane = i - answer.channel;
        if (!judgePlane(*m_stack, stackPlanes[i], limits, stackPlanes[i].of(ep::internal::planeView(kinds.image(), 0)),
                        answer))
            return ep::StatusInvalidArgument;
        answers.append(answer);
    }
    defects = defectsIn(kinds.image());
    planes = answers;
    return ep::StatusOk;
}

}  // namespace orn
