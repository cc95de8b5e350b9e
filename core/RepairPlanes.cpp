#include <orn/RepairPlanes.h>

#include "PlaneLevels.h"

#include <orn/GetLevelsToRepair.h>
#include <orn/RepairImage.h>
#include <orn/ReplayRepairs.h>

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

namespace orn {

namespace {

constexpr qint32 levelCount = 1 << 16;

/** A plane to repair: a copy of its samples as levels, which of them are admitted, and which levels are invalid. */
class RepairablePlane {
public:
    RepairablePlane(const ep::SxImageInfo& image, const SxImagePlane& plane)
        : m_plane(plane), m_least(leastSample(image.dataType)), m_invalid(new bool[levelCount]())
    {
    }

    unsigned int copy(const ep::SxImageBuf& image, const ep::SxImageBuf& mask)
    {
        const unsigned int status = copyLevels(image, m_plane, m_levels);
        return ep::failed(status) ? status : copyMask(mask, image, m_plane, m_mask);
    }

    bool flag(const SxInvalidLevels& levels);
    void stamp(const QVector<QPoint>& places);
    /** How many samples are to be repaired, and whether there are others to take. */
    qint64 invalidSamples(bool& hasSource) const;
    bool repair(qint32 plane, const ep::SxImageBuf& image, QVector<SxRepairedSample>& repaired);

private:
    qint64 samples() const { return static_cast<qint64>(m_levels->width) * m_levels->height; }
    quint16* levels() const { return static_cast<quint16*>(m_levels->data); }
    quint8* mask() const { return static_cast<quint8*>(m_mask->data); }
    /** The level that is off for GetLevelsToRepair() is a negative one. */
    qint32 levelOf(qint32 number) const
    {
        return static_cast<qint32>(std::max<qint64>(-1, std::min<qint64>(levelCount, qint64(number) - m_least)));
    }
    std::vector<qint64> indexesOf(const QVector<QPoint>& places) const;
    quint16 levelForPlaces(const std::vector<qint64>& indexes) const;

    SxImagePlane m_plane;
    qint32 m_least;
    ep::CxScopedBuffer m_levels;
    ep::CxScopedBuffer m_mask;
    std::unique_ptr<bool[]> m_invalid;
};

bool RepairablePlane::flag(const SxInvalidLevels& levels)
{
    double lowPercent = levels.lowPercent;
    double highPercent = levels.highPercent;
    int low = levelOf(levels.low);
    int high = levelOf(levels.high);
    bool* table = m_invalid.get();
    return GetLevelsToRepair(m_levels.image(), m_mask.image(), &lowPercent, &low, &highPercent, &high, &table);
}

/** Where in the plane's storage the samples at @p places are, each once. */
std::vector<qint64> RepairablePlane::indexesOf(const QVector<QPoint>& places) const
{
    std::vector<qint64> indexes;
    for (const QPoint& place : places) {
        if (place.x() < 0 || place.y() < 0 || !m_plane.covers(place.x(), place.y()))
            continue;
        const qint32 x = place.x() / m_plane.stepX;
        const qint32 y = place.y() / m_plane.stepY;
        if (x < m_levels->width && y < m_levels->height)
            indexes.push_back(static_cast<qint64>(y) * m_levels->width + x);
    }
    std::sort(indexes.begin(), indexes.end());
    indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
    return indexes;
}

/** The rarest level of the samples at other places: as a rule one that none of them has. */
quint16 RepairablePlane::levelForPlaces(const std::vector<qint64>& indexes) const
{
    std::vector<qint64> counts(levelCount);
    std::for_each(levels(), levels() + samples(), [&](quint16 level) { ++counts[level]; });
    for (qint64 index : indexes)
        --counts[levels()[index]];
    return static_cast<quint16>(std::min_element(counts.begin(), counts.end()) - counts.begin());
}

/** Makes the samples at @p places invalid, by a level of their own. */
void RepairablePlane::stamp(const QVector<QPoint>& places)
{
    const std::vector<qint64> indexes = indexesOf(places);
    if (indexes.empty())
        return;
    const quint16 stamp = levelForPlaces(indexes);
    // Others of that level are valid, unless they are to be repaired anyway: they are kept out of the search.
    if (!m_invalid[stamp])
        for (qint64 i = 0; i < samples(); ++i)
            if (levels()[i] == stamp && !std::binary_search(indexes.begin(), indexes.end(), i))
                mask()[i] = 0;
    for (qint64 index : indexes)
        levels()[index] = stamp;
    m_invalid[stamp] = true;
}

qint64 RepairablePlane::invalidSamples(bool& hasSource) const
{
    qint64 invalid = 0;
    hasSource = false;
    for (qint64 i = 0; i < samples(); ++i) {
        if (!mask()[i])
            continue;
        if (m_invalid[levels()[i]])
            ++invalid;
        else
            hasSource = true;
    }
    return invalid;
}

/** Repairs the copy, and appends what has to change in @p image, in which the plane is number @p plane. */
bool RepairablePlane::repair(qint32 plane, const ep::SxImageBuf& image, QVector<SxRepairedSample>& repaired)
{
    const bool* table = m_invalid.get();
    QVector<InvalidPixel> records;
    if (!RepairImage(m_levels.image(), m_mask.image(), &table, &records))
        return false;
    repaired.reserve(repaired.size() + records.size());
    for (const InvalidPixel& record : qAsConst(records)) {
        const QPoint place = m_plane.inImage(record.x, record.y);
        // The record knows the level of a stamped sample, and not what the sample was.
        const qint32 oldValue = sampleNumber(image, m_plane.channel, place);
        repaired << SxRepairedSample{place.x(), place.y(), plane, oldValue, record.newValues[0] + m_least};
    }
    return true;
}

ep::ExStatus checkRequest(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, const SxRepairRequest& request,
                          int planes)
{
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    if (planes == 0 || ep::sampleFacts(image.dataType).bytes > 2)
        return ep::StatusUnsupportedType;
    if (request.levels.size() > 1 && request.levels.size() != planes)
        return ep::StatusInvalidArgument;
    if (!mask.data)
        return ep::StatusOk;
    if (const ep::ExStatus status = ep::internal::checkImage(mask))
        return status;
    const bool fits = mask.channels == 1 && mask.width == image.width && mask.height == image.height
                      && ep::sampleFacts(mask.dataType).bytes == 1;
    return fits ? ep::StatusOk : ep::StatusGeometryMismatch;
}

/** Collects what has to change in plane number @p index. */
ep::ExStatus repairPlane(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, const SxRepairRequest& request,
                         const SxImagePlane& place, qint32 index, QVector<SxRepairedSample>& repaired,
                         bool& lacksSource)
{
    if (place.width(image) == 0 || place.height(image) == 0)
        return ep::StatusOk;
    RepairablePlane plane(image, place);
    if (ep::failed(plane.copy(image, mask)))
        return ep::StatusOutOfMemory;
    if (!request.levels.isEmpty()
        && !plane.flag(request.levels.size() == 1 ? request.levels[0] : request.levels[index]))
        return ep::StatusOutOfMemory;
    plane.stamp(request.places);
    bool hasSource = false;
    if (plane.invalidSamples(hasSource) == 0)
        return ep::StatusOk;
    lacksSource = !hasSource;
    if (lacksSource)
        return ep::StatusInvalidArgument;
    return plane.repair(index, image, repaired) ? ep::StatusOk : ep::StatusOutOfMemory;
}

ep::ExStatus repairPlanes(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const SxRepairRequest& request,
                          QVector<SxRepairedSample>& repaired, qint32& planeWithoutSource)
{
    const QVector<SxImagePlane> planes = ImagePlanes(image);
    if (const ep::ExStatus status = checkRequest(image, mask, request, planes.size()))
        return status;
    for (qint32 i = 0; i < planes.size(); ++i) {
        bool lacksSource = false;
        const ep::ExStatus status = repairPlane(image, mask, request, planes[i], i, repaired, lacksSource);
        if (lacksSource)
            planeWithoutSource = i;
        if (status != ep::StatusOk)
            return status;
    }
    int wrong = -1;
    return static_cast<ep::ExStatus>(ReplayRepairs(image, repaired, wrong));
}

}  // namespace

unsigned int RepairPlanes(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const SxRepairRequest& request,
                          QVector<SxRepairedSample>& repaired, qint32& planeWithoutSource)
{
    planeWithoutSource = -1;
    repaired.clear();
    ep::ExStatus status = ep::StatusOutOfMemory;
    try {
        status = repairPlanes(image, mask, request, repaired, planeWithoutSource);
    } catch (const std::bad_alloc&) {
    }
    if (ep::failed(status))
        repaired.clear();
    return status;
}

}  // namespace orn
