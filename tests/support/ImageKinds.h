/**
 * @file
 * Test rows for services that take any image: every kind of image, in many shapes.
 */
#pragma once

#include "TestImages.h"

#include <QtTest>

namespace testing {

/** What one test row is about. */
struct ImageKind {
    ep::ExImageDataType type;
    ep::ExImageLayout layout;
    int channels;

    ep::SxImageInfo describe(int width, int height, int padding) const
    {
        return testing::describe(type, width, height, channels, layout, padding);
    }
};

/** Adds a row for every sample type, layout and channel count from 1 to 4. */
inline void addImageKinds()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    for (const ep::ExImageDataType type : allTypes)
        for (const ep::ExImageLayout layout : allLayouts)
            for (int channels = 1; channels <= 4; ++channels)
                QTest::addRow("%s, %s, %d channels", ep::sampleFacts(type).name,
                              layout == ep::LayoutPlanar ? "planar" : "packed", channels)
                    << int(type) << int(layout) << channels;
}

/** The kind of the current row. */
inline ImageKind currentImageKind()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    return {ep::ExImageDataType(type), ep::ExImageLayout(layout), channels};
}

/** Hands shapes to @p work(width, height, padding); the bytes of padding between rows go round with the shape. */
template <typename Work>
class ShapeSeries {
public:
    explicit ShapeSeries(Work& work) : m_work(work) {}
    void add(int width, int height)
    {
        constexpr int paddings[] = {0, 1, 3, 8, 13};  // odd ones leave the samples unaligned
        m_work(width, height, paddings[m_turn++ % 5]);
    }

private:
    Work& m_work;
    int m_turn = 0;
};

/** Calls @p work(width, height, padding) for every width and every height from 1 to 67. */
template <typename Work>
void forEveryShape(Work&& work)
{
    ShapeSeries<Work> series(work);
    for (int size = 1; size <= 67; ++size)
        for (const int other : {1, 6, 35}) {
            series.add(size, other);
            series.add(other, size);
        }
}

/**
 * For services that only move samples: every shape for one type of each sample size, and for the other types a few.
 */
template <typename Work>
void forEachShape(ep::ExImageDataType type, Work&& work)
{
    ShapeSeries<Work> series(work);
    for (int i = 0; i < 5; ++i) {
        series.add(7, 5);
        series.add(33, 18);
    }
    if (type == ep::DataTypeUInt8 || type == ep::DataTypeUInt16 || type == ep::DataTypeFloat
        || type == ep::DataTypeDouble || type == ep::DataTypeComplex)
        forEveryShape(work);
}

/** Names a shape in the message of a failed comparison. */
inline QByteArray shapeName(int width, int height, int padding)
{
    return QByteArray::number(width) + " x " + QByteArray::number(height) + " samples, padding "
           + QByteArray::number(padding);
}

}  // namespace testing
