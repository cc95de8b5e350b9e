#include <orn/DifferencePicture.h>

#include "SampleDistance.h"

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/ReadRow.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace orn {

namespace {

using ep::internal::planeView;
using ep::internal::readRow;

/** The differences of two images row by row, so that no more than a row of them is ever held. */
template <typename Real>
class DifferenceRows {
public:
    DifferenceRows(const ep::SxImageBuf& a, const ep::SxImageBuf& b)
        : m_a(a), m_b(b), m_rowA(static_cast<std::size_t>(a.width)), m_rowB(m_rowA.size()), m_largest(m_rowA.size())
    {
    }

    /** Row @p y, of each pixel the largest over the channels; null when the samples are no numbers. */
    const std::vector<Real>* read(qint32 y)
    {
        std::fill(m_largest.begin(), m_largest.end(), Real(0));
        for (qint32 channel = 0; channel < m_a.channels; ++channel) {
            if (!readRow(planeView(m_a, channel), m_a.dataType, y, m_rowA.data())
                || !readRow(planeView(m_b, channel), m_b.dataType, y, m_rowB.data()))
                return nullptr;
            for (std::size_t x = 0; x < m_largest.size(); ++x)
                m_largest[x] = std::fmax(m_largest[x], sampleDistance(m_rowA[x], m_rowB[x]));
        }
        return &m_largest;
    }

private:
    const ep::SxImageBuf& m_a;
    const ep::SxImageBuf& m_b;
    std::vector<Real> m_rowA;
    std::vector<Real> m_rowB;
    std::vector<Real> m_largest;
};

template <typename Real>
quint8 greyOf(Real distance, Real white)
{
    if (distance == 0)
        return 0;
    if (distance >= white)
        return 255;
    return static_cast<quint8>(std::fmax(1, static_cast<double>(distance / white) * 255 + 0.5));
}

template <typename Real>
ep::ExStatus draw(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::SxImageBuf& picture)
{
    DifferenceRows<Real> rows(a, b);
    Real white = 0;
    for (qint32 y = 0; y < a.height; ++y) {
        const std::vector<Real>* row = rows.read(y);
        if (!row)
            return ep::StatusUnsupportedType;
        for (Real distance : *row)
            white = std::isinf(distance) ? white : std::fmax(white, distance);
    }
    for (qint32 y = 0; y < a.height; ++y) {
        auto* to = static_cast<quint8*>(picture.data) + static_cast<std::ptrdiff_t>(y) * picture.stride;
        const std::vector<Real>& row = *rows.read(y);
        std::transform(row.begin(), row.end(), to, [&](Real distance) { return greyOf(distance, white); });
    }
    return ep::StatusOk;
}

}  // namespace

unsigned int DifferencePicture(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::CxScopedBuffer& picture)
try {
    for (const ep::SxImageBuf* image : {&a, &b})
        if (const ep::ExStatus status = ep::internal::checkImage(*image))
            return status;
    if (a.width != b.width || a.height != b.height || a.channels != b.channels)
        return ep::StatusInvalidArgument;
    ep::SxImageInfo info = ep::emptyImage();
    info.width = a.width;
    info.height = a.height;
    info.channels = 1;
    info.dataType = ep::DataTypeUInt8;
    info.bitDepth = 8;
    ep::CxScopedBuffer drawn(info);
    unsigned int status = drawn.allocate();
    if (ep::failed(status))
        return status;
    const bool isLarge = needsLongDouble(a) || needsLongDouble(b);
    status = isLarge ? draw<long double>(a, b, drawn.image()) : draw<double>(a, b, drawn.image());
    if (!ep::failed(status))
        picture = std::move(drawn);
    return status;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

}  // namespace orn
