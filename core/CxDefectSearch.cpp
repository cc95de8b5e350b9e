#include <orn/CxDefectSearch.h>
#include <orn/ImagePlanes.h>

#include "FrameStack.h"
#include "JudgePlane.h"

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <cmath>
#include <new>

namespace orn {

namespace {

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
try {
    if (frames() == 0 || !(limits.sigma > 0) || !std::isfinite(limits.sigma))
        return ep::StatusInvalidArgument;
    ep::CxScopedBuffer kinds(m_stack->description());
    kinds->dataType = ep::DataTypeUInt8;
    kinds->channels = 1;
    kinds->stride = 0;
    const unsigned int status = kinds.allocate(true);
    if (ep::failed(status))
        return status;
    const ep::internal::PlaneView image = ep::internal::planeView(kinds.image(), 0);
    QVector<SxDefectPlane> answers;
    for (const SxImagePlane& plane : ImagePlanes(m_stack->description())) {
        SxDefectPlane answer;
        answer.plane = answers.size();
        const ep::internal::PlaneView samples = samplesOf(plane, image);
        // An image smaller than its colour-filter cell lacks some of the planes.
        if (samples.width > 0 && samples.height > 0 && !judgePlane(*m_stack, plane, limits, samples, answer))
            return ep::StatusInvalidArgument;
        answers.append(answer);
    }
    defects = defectsIn(kinds.image());
    planes = answers;
    return ep::StatusOk;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

}  // namespace orn
