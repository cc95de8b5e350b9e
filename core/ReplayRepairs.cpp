#include <orn/ReplayRepairs.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <limits>
#include <new>

namespace orn {

namespace {

using ep::internal::loadSample;
using ep::internal::storeSample;

/** The samples of an image, named by records. */
template <typename Sample>
class RecordedSamples {
public:
    explicit RecordedSamples(ep::SxImageBuf& image) : m_image(image), m_planes(ImagePlanes(image)) {}

    /** Where the sample of @p record is; null when the image has none there. */
    unsigned char* find(const SxRepairedSample& record) const
    {
        if (record.x < 0 || record.y < 0 || record.x >= m_image.width || record.y >= m_image.height || record.plane < 0
            || record.plane >= m_planes.size() || !m_planes[record.plane].covers(record.x, record.y))
            return nullptr;
        return ep::internal::planeView(m_image, m_planes[record.plane].channel).sample(record.x, record.y);
    }

    bool replace(const SxRepairedSample& record) const
    {
        unsigned char* sample = find(record);
        using Limits = std::numeric_limits<Sample>;
        if (!sample || loadSample<Sample>(sample) != record.oldValue || record.newValue < Limits::min()
            || record.newValue > Limits::max())
            return false;
        storeSample(sample, static_cast<Sample>(record.newValue));
        return true;
    }

    void restore(const SxRepairedSample& record) const
    {
        storeSample(find(record), static_cast<Sample>(record.oldValue));
    }

private:
    ep::SxImageBuf& m_image;
    QVector<SxImagePlane> m_planes;
};

template <typename Sample>
ep::ExStatus replay(ep::SxImageBuf& image, const QVector<SxRepairedSample>& repaired, int& wrong)
{
    const RecordedSamples<Sample> samples(image);
    for (int i = 0; i < repaired.size(); ++i) {
        if (samples.replace(repaired[i]))
            continue;
        wrong = i;
        while (i > 0)
            samples.restore(repaired[--i]);
        return ep::StatusGeometryMismatch;
    }
    return ep::StatusOk;
}

}  // namespace

unsigned int ReplayRepairs(ep::SxImageBuf& image, const QVector<SxRepairedSample>& repaired, int& wrong)
try {
    wrong = -1;
    if (const ep::ExStatus unsound = ep::internal::checkImage(image))
        return unsound;
    ep::ExStatus status = ep::StatusUnsupportedType;
    ep::internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (sizeof(Sample) <= sizeof(quint16))
            status = replay<Sample>(image, repaired, wrong);
    });
    return status;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

}  // namespace orn
