#include <orn/DefectMap.h>

#include <ep/CxImageFormatManager.h>
#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/OutOfMemory.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <QFileInfo>

#include <algorithm>
#include <iterator>
#include <new>
#include <vector>

namespace orn {

namespace {

using ep::internal::ConstPlaneView;

// As many as a list holds.
constexpr int mostDefects = 1 << 23;

quint8 valueOf(qint32 kind)
{
    switch (kind) {
    case DefectDead: return DefectMapDead;
    case DefectStuck: return DefectMapStuck;
    default: return DefectMapHot;
    }
}

qint32 kindOf(quint8 value)
{
    switch (value) {
    case DefectMapDead: return DefectDead;
    case DefectMapStuck: return DefectStuck;
    case DefectMapHot: return DefectHot;
    default: return DefectUntold;
    }
}

/** Sets the marks of the row's pixels that have a sample other than zero; false when samples are no numbers. */
bool markRow(const ep::SxImageBuf& map, qint32 y, std::vector<quint8>& marks)
{
    bool areNumbers = true;
    for (qint32 channel = 0; channel < map.channels && areNumbers; ++channel) {
        const ConstPlaneView view = ep::internal::planeView(map, channel);
        areNumbers = ep::internal::visitSampleType(map.dataType, [&](auto tag) {
            using Sample = typename decltype(tag)::Type;
            for (qint32 x = 0; x < map.width; ++x)
                if (ep::internal::loadSample<Sample>(view.sample(x, y)) != Sample(0))
                    marks[static_cast<std::size_t>(x)] = 1;
        });
    }
    return areNumbers;
}

}  // namespace

unsigned int DefectMap(qint32 width, qint32 height, const QVector<SxDefect>& defects, ep::CxScopedBuffer& map)
{
    ep::CxScopedBuffer drawn;
    drawn->width = width;
    drawn->height = height;
    drawn->channels = 1;
    drawn->bitDepth = 8;
    drawn->dataType = ep::DataTypeUInt8;
    const unsigned int status = drawn.allocate(true);
    if (ep::failed(status))
        return status;
    const ep::internal::PlaneView view = ep::internal::planeView(drawn.image(), 0);
    for (const SxDefect& defect : defects)
        if (defect.x >= 0 && defect.x < width && defect.y >= 0 && defect.y < height)
            *view.sample(defect.x, defect.y) = valueOf(defect.kind);
    map = std::move(drawn);
    return ep::StatusOk;
}

unsigned int DefectsOfMap(const ep::SxImageBuf& map, QVector<SxDefect>& defects)
try {
    if (const ep::ExStatus status = ep::internal::checkImage(map))
        return status;
    const bool tellsKinds = map.dataType == ep::DataTypeUInt8 && map.channels == 1;
    const ConstPlaneView view = ep::internal::planeView(map, 0);
    QVector<SxDefect> found;
    std::vector<quint8> marks(static_cast<std::size_t>(map.width));
    for (qint32 y = 0; y < map.height; ++y) {
        std::fill(marks.begin(), marks.end(), quint8(0));
        if (!markRow(map, y, marks))
            return ep::StatusUnsupportedType;
        for (qint32 x = 0; x < map.width; ++x)
            if (marks[static_cast<std::size_t>(x)] != 0)
                found.append({x, y, tellsKinds ? kindOf(*view.sample(x, y)) : qint32(DefectUntold), 0});
        if (found.size() > mostDefects)
            return ep::StatusSizeOverflow;
    }
    defects = found;
    return ep::StatusOk;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

bool isDefectListName(const QString& fileName)
{
    static const char* const suffixes[] = {"", "txt", "lst", "list", "badpixels"};
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    return std::any_of(std::begin(suffixes), std::end(suffixes),
                       [&](const char* candidate) { return suffix == QLatin1String(candidate); });
}

bool readDefects(const QString& fileName, SxDefectList& list, ep::SxFileError& error)
try {
    if (isDefectListName(fileName))
        return readDefectList(fileName, list, error);
    ep::CxScopedBuffer map;
    ep::CxMetadata metadata;
    if (!ep::CxImageFormatManager::loadImageFromFile(fileName, map.image(), &metadata, nullptr, &error))
        return false;
    QVector<SxDefect> defects;
    if (ep::failed(DefectsOfMap(map.image(), defects))) {
        error = {ep::ExFileError::Unsupported,
                 QStringLiteral("it is no map of defects: its samples are no numbers, or nearly all are defects")};
        return false;
    }
    list = {defects, sensorOrigin(metadata)};
    return true;
} catch (const std::bad_alloc&) {
    error = ep::internal::outOfMemory();
    return false;
}

}  // namespace orn
