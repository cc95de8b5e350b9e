// Rows and columns exchanged, against a plain copy of the same bytes.

#include "Table.h"

#include <ep/Transpose.h>
#include <ep/internal/TransposePlane.h>

using namespace benching;

namespace {

constexpr ep::ExImageDataType types[] = {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat, ep::DataTypeDouble};

QString rowName(const char* kind, ep::ExImageDataType type)
{
    return QStringLiteral("%1-%2").arg(QLatin1String(kind)).arg(ep::sampleFacts(type).bytes);
}

void transpose(const ep::CxScopedBuffer& source, ep::CxScopedBuffer& turned)
{
    require(!ep::failed(ep::Transpose(source.image(), turned.image())), "Transpose");
}

void transposeReversed(const ep::CxScopedBuffer& source, ep::CxScopedBuffer& turned)
{
    ep::internal::transposePlane(ep::sampleFacts(source->dataType).bytes,
                                 ep::internal::planeView(source.image(), 0).reversedRows(),
                                 ep::internal::planeView(turned.image(), 0));
}

void addShape(Table& table, const char* kind, const QSize& size)
{
    for (const ep::ExImageDataType type : types)
        table.row(rowName(kind, type), [&table, type, size] {
            const auto source = makeImage(type, size.width(), size.height());
            auto turned = makeImage(type, size.height(), size.width());
            table.inTurns(
                {{"ours", timed([&] { transpose(source, turned); })}, {"memcpy", timedMemcpy(source, turned)}});
        });
}

void addReversed(Table& table)
{
    for (const ep::ExImageDataType type : types)
        table.row(rowName("transpose-reversed", type), [&table, type] {
            const auto source = makeImage(table, type);
            auto turned = makeImage(type, source->height, source->width);
            table.inTurns({{"ours", timed([&] { transposeReversed(source, turned); })},
                           {"plain", timed([&] { transpose(source, turned); })}});
        });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    addShape(table, "transpose", table.size());
    // Rows whose distance is a power of two meet in the same lines of the cache, on both sides here.
    addShape(table, "transpose-power", {8192, 4096});
    addShape(table, "transpose-odd", table.size() + QSize(1, -1));
    addReversed(table);
}
