// Levels counted under a mask, against OpenCV on one thread.

#include "Table.h"

#include <ep/CxImageHistogram.h>
#include <ep/HistogramMasked.h>

#include <opencv2/imgproc.hpp>

#include <random>

using namespace benching;

namespace {

/** One image, counted by both. */
class Counting {
public:
    Counting(const Table& table, ep::ExImageDataType type)
        : m_image(makeImage(table, type)), m_full(makeImage(table, ep::DataTypeUInt8)),
          m_random(makeImage(table, ep::DataTypeUInt8)), m_levels(1 << ep::sampleFacts(type).bits)
    {
        cv::setNumThreads(1);
        std::memset(m_full->data, 1, storageBytes(m_full.image()));
        auto* mask = static_cast<unsigned char*>(m_random->data);
        std::mt19937 random(7);
        for (size_t i = 0; i < storageBytes(m_random.image()); ++i)
            mask[i] = random() >> 31;
    }

    const ep::CxScopedBuffer& full() const { return m_full; }
    const ep::CxScopedBuffer& random() const { return m_random; }

    void ours(const ep::CxScopedBuffer& mask)
    {
        m_histogram.resize(1, m_levels);
        require(!ep::failed(ep::HistogramMasked(m_image.image(), mask.image(), m_histogram)), "HistogramMasked");
    }

    void openCv(const ep::CxScopedBuffer& mask)
    {
        const cv::Mat image = matrix(m_image, m_levels > 256 ? CV_16UC1 : CV_8UC1);
        const float range[] = {0, float(m_levels)};
        const float* ranges[] = {range};
        const int channel = 0;
        cv::calcHist(&image, 1, &channel, matrix(mask, CV_8UC1), m_openCv, 1, &m_levels, ranges);
    }

    void requireTheSameCounts(const ep::CxScopedBuffer& mask)
    {
        ours(mask);
        openCv(mask);
        for (int level = 0; level < m_levels; ++level)
            require(qint32(m_openCv.at<float>(level)) == m_histogram.counts[0][level], "counting alike");
    }

private:
    static cv::Mat matrix(const ep::CxScopedBuffer& image, int type)
    {
        return {image->height, image->width, type, image->data, size_t(image->stride)};
    }

    ep::CxScopedBuffer m_image;
    ep::CxScopedBuffer m_full;
    ep::CxScopedBuffer m_random;
    int m_levels;
    ep::CxImageHistogram m_histogram;
    cv::Mat m_openCv;
};

void addType(Table& table, ep::ExImageDataType type)
{
    const QString bytes = QString::number(ep::sampleFacts(type).bytes);
    table.row(QStringLiteral("histogram-full-") + bytes, [&table, type] {
        Counting counting(table, type);
        counting.requireTheSameCounts(counting.full());
        table.inTurns({{"ours", timed([&] { counting.ours(counting.full()); })},
                       {"opencv", timed([&] { counting.openCv(counting.full()); })}});
    });
    table.row(QStringLiteral("histogram-random-") + bytes, [&table, type] {
        Counting counting(table, type);
        counting.requireTheSameCounts(counting.random());
        table.inTurns({{"ours", timed([&] { counting.ours(counting.random()); })},
                       {"full", timed([&] { counting.ours(counting.full()); })},
                       {"opencv", timed([&] { counting.openCv(counting.random()); })}});
    });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    addType(table, ep::DataTypeUInt16);
    addType(table, ep::DataTypeUInt8);
}
