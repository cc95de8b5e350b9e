#include <orn/MarkPixels.h>

#include <ep/ExStatus.h>
#include <ep/internal/CopyPlane.h>

#include <QRect>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <new>
#include <utility>
#include <vector>

namespace orn {

namespace {

using ep::internal::planeView;
using Color = std::array<unsigned char, 3>;

constexpr Color magenta{255, 0, 255};
constexpr Color black{0, 0, 0};

/** A packed picture in colours to paint on; what lies outside of it is passed over. */
class Canvas {
public:
    explicit Canvas(ep::SxImageBuf& picture) : m_picture(picture) {}

    void paint(const QRect& area, const Color& color)
    {
        paintWhere(area, color, [](int, int) { return true; });
    }
    /** Paints what is from @p inner to @p outer away from @p center. */
    void paintRing(const QPoint& center, double inner, double outer, const Color& color)
    {
        const int reach = static_cast<int>(std::ceil(outer));
        const QRect area(center.x() - reach, center.y() - reach, 2 * reach + 1, 2 * reach + 1);
        paintWhere(area, color, [&](int x, int y) {
            const double distance = std::hypot(x - center.x(), y - center.y());
            return distance >= inner && distance <= outer;
        });
    }

private:
    template <typename Condition>
    void paintWhere(const QRect& area, const Color& color, Condition&& isWanted)
    {
        const QRect within = area & QRect(0, 0, m_picture.width, m_picture.height);
        for (int y = within.top(); y <= within.bottom(); ++y)
            for (int x = within.left(); x <= within.right(); ++x)
                if (isWanted(x, y))
                    std::copy(color.begin(), color.end(), planeView(m_picture, 0).sample(x, y));
    }

    ep::SxImageBuf& m_picture;
};

/** What is drawn around a pixel, in samples of the picture. */
struct RingSize {
    double radius;
    double halfWidth;
    double border;

    /** Large enough to be seen where the picture is scaled down to a screen. */
    static RingSize of(const ep::SxImageInfo& picture, int enlargement)
    {
        const double longest = std::max(picture.width, picture.height);
        return {enlargement + std::max(5.0, longest / 80), std::max(1.0, longest / 500), std::max(1.0, longest / 1500)};
    }
};

/** The middles of those pixels that get a ring: one in each square of a grid as wide as a ring. */
std::vector<QPoint> ringCenters(const ep::SxImageInfo& picture, const QVector<QPoint>& pixels, int enlargement,
                                const RingSize& ring)
{
    const int square = static_cast<int>(std::ceil(2 * ring.radius));
    const int columns = picture.width / square + 2;
    std::vector<bool> taken(static_cast<std::size_t>(columns) * static_cast<std::size_t>(picture.height / square + 2));
    std::vector<QPoint> centers;
    for (const QPoint& pixel : pixels) {
        const QPoint center = pixel * enlargement + QPoint(enlargement / 2, enlargement / 2);
        const auto index = static_cast<std::size_t>(center.y() / square) * static_cast<std::size_t>(columns)
                           + static_cast<std::size_t>(center.x() / square);
        if (!taken[index])
            centers.push_back(center);
        taken[index] = true;
    }
    return centers;
}

void drawMarks(const QVector<QPoint>& pixels, int enlargement, ep::SxImageBuf& picture)
{
    Canvas canvas(picture);
    const RingSize ring = RingSize::of(picture, enlargement);
    const std::vector<QPoint> centers = ringCenters(picture, pixels, enlargement, ring);
    const double halfWidth = ring.halfWidth + ring.border;
    for (const QPoint& center : centers)
        canvas.paintRing(center, ring.radius - halfWidth, ring.radius + halfWidth, black);
    for (const QPoint& center : centers)
        canvas.paintRing(center, ring.radius - ring.halfWidth, ring.radius + ring.halfWidth, magenta);
    for (const QPoint& pixel : pixels)
        canvas.paint({pixel * enlargement, QSize(enlargement, enlargement)}, magenta);
}

/** The pixels that lie within @p picture. */
QVector<QPoint> pixelsWithin(const ep::SxImageInfo& picture, const QVector<QPoint>& pixels, int enlargement)
{
    const QRect all(0, 0, (picture.width - 1) / enlargement + 1, (picture.height - 1) / enlargement + 1);
    QVector<QPoint> within;
    std::copy_if(pixels.begin(), pixels.end(), std::back_inserter(within),
                 [&](const QPoint& pixel) { return all.contains(pixel); });
    return within;
}

/** A picture of three channels with the samples of @p picture. */
unsigned int inColors(const ep::SxImageBuf& picture, ep::CxScopedBuffer& colored)
{
    colored = ep::CxScopedBuffer(picture);
    colored->stride = 0;
    colored->channels = 3;
    colored->layout = ep::LayoutPacked;
    const unsigned int status = colored.allocate();
    if (ep::failed(status))
        return status;
    ep::internal::copyPlanes(1, colored->channels, [&](qint32 channel) {
        return ep::internal::PlanePair{planeView(picture, std::min(channel, picture.channels - 1)),
                                       planeView(colored.image(), channel)};
    });
    return ep::StatusOk;
}

}  // namespace

unsigned int MarkPixels(const ep::SxImageBuf& picture, const QVector<QPoint>& pixels, int enlargement,
                        ep::CxScopedBuffer& marked)
{
    if (const ep::ExStatus status = ep::internal::checkImage(picture))
        return status;
    if (picture.dataType != ep::DataTypeUInt8)
        return ep::StatusUnsupportedType;
    if ((picture.channels != 1 && picture.channels != 3) || enlargement < 1
        || enlargement > std::max(picture.width, picture.height))
        return ep::StatusInvalidArgument;
    ep::CxScopedBuffer drawn;
    const unsigned int status = inColors(picture, drawn);
    if (ep::failed(status))
        return status;
    try {
        drawMarks(pixelsWithin(picture, pixels, enlargement), enlargement, drawn.image());
    } catch (const std::bad_alloc&) {
        return ep::StatusOutOfMemory;
    }
    marked = std::move(drawn);
    return ep::StatusOk;
}

}  // namespace orn
