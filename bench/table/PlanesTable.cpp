// Mosaics and packed colours taken apart and put together, against a plain copy of the same bytes.

#include "Table.h"

#include <ep/ConvertPackPixelToPlanar.h>
#include <ep/ConvertPlanarRawToRaw.h>
#include <ep/internal/CopyPlane.h>

using namespace benching;

namespace {

constexpr int colours = 3;

void addMosaics(Table& table)
{
    constexpr auto type = ep::DataTypeUInt16;
    const auto makePlanes = [&table] {
        return makeImage(type, table.size().width() / 2, table.size().height() / 2, 4, ep::LayoutPlanar);
    };
    table.row(QStringLiteral("bayer-split-2"), [&] {
        auto mosaic = makeImage(table, type);
        mosaic->bayerGrid = ep::BayerGridRGGB;
        auto planes = makePlanes();
        const auto split = [&] {
            require(!ep::failed(ep::ConvertPackPixelToPlanar(mosaic.image(), planes.image())), "the split");
        };
        table.inTurns({{"ours", timed(split)}, {"memcpy", timedMemcpy(mosaic, planes)}});
    });
    table.row(QStringLiteral("bayer-merge-2"), [&] {
        const auto planes = makePlanes();
        auto mosaic = makeImage(table, type);
        const auto merge = [&] {
            require(!ep::failed(ep::ConvertPlanarRawToRaw(planes.image(), mosaic.image(), ep::BayerGridRGGB)),
                    "the merge");
        };
        table.inTurns({{"ours", timed(merge)}, {"memcpy", timedMemcpy(planes, mosaic)}});
    });
}

/** What savers and loaders do that need the other layout. */
void pack(const ep::CxScopedBuffer& planar, ep::CxScopedBuffer& packed)
{
    ep::internal::copyPlanes(ep::sampleFacts(planar->dataType).bytes, planar->channels, [&](qint32 channel) {
        return ep::internal::PlanePair{ep::internal::planeView(planar.image(), channel),
                                       ep::internal::planeView(packed.image(), channel)};
    });
}

void addColours(Table& table, ep::ExImageDataType type)
{
    const QString bytes = QString::number(ep::sampleFacts(type).bytes);
    table.row(QStringLiteral("rgb-to-planes-") + bytes, [&] {
        const auto packed = makeImage(table, type, colours);
        auto planar = makeImage(table, type, colours, ep::LayoutPlanar);
        const auto separate = [&] {
            require(!ep::failed(ep::ConvertPackPixelToPlanar(packed.image(), planar.image())), "the separation");
        };
        table.inTurns({{"ours", timed(separate)}, {"memcpy", timedMemcpy(packed, planar)}});
    });
    table.row(QStringLiteral("planes-to-rgb-") + bytes, [&] {
        const auto planar = makeImage(table, type, colours, ep::LayoutPlanar);
        auto packed = makeImage(table, type, colours);
        table.inTurns({{"ours", timed([&] { pack(planar, packed); })}, {"memcpy", timedMemcpy(planar, packed)}});
    });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    addMosaics(table);
    addColours(table, ep::DataTypeUInt8);
    addColours(table, ep::DataTypeUInt16);
    // How fast a copy is at each size: what the growth of everything else is to be seen against.
    table.row(QStringLiteral("memcpy-2"), [&] {
        const auto from = makeImage(table, ep::DataTypeUInt16);
        const auto to = makeImage(table, ep::DataTypeUInt16);
        table.inTurns({{"ours", timedMemcpy(from, to)}});
    });
}
