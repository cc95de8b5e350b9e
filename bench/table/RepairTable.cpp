// The repair of invalid samples, against the search done as it is told, and against OpenCV's median on one thread.

#include "Table.h"

#include "../../tests/support/RepairReference.h"
#include "../core/RepairBenching.h"

#include <orn/RepairImage.h>

#include <opencv2/imgproc.hpp>

using namespace benching;

namespace {

double secondsOfRepair(DamagedImage& damaged)
{
    damaged.damage();
    const auto tables = const_cast<const bool**>(damaged.tables());
    QVector<orn::InvalidPixel> records;
    return secondsOf(
        [&] { require(orn::RepairImage(damaged.image(), damaged.mask(), tables, &records), "RepairImage"); });
}

double secondsOfLiteralSearch(DamagedImage& damaged)
{
    damaged.damage();
    testing::RepairReference<quint16> literal(damaged.image(), damaged.mask(), damaged.tables());
    return secondsOf([&] { literal.repair(); });
}

double secondsOfMedian(DamagedImage& damaged, cv::Mat& result)
{
    const ep::SxImageBuf& image = damaged.image();
    const cv::Mat matrix(image.height, image.width, CV_16UC1, image.data, size_t(image.stride));
    return secondsOf([&] { cv::medianBlur(matrix, result, 3); });
}

}  // namespace

int main(int argc, char** argv)
{
    Table table(argc, argv);
    cv::setNumThreads(1);
    for (const int permille : {0, 1, 10, 100})
        table.row(QStringLiteral("repair-%1").arg(permille), [&table, permille] {
            DamagedImage damaged(permille / 1000.0, table.size().width(), table.size().height());
            cv::Mat filtered;
            table.inTurns({{"ours", [&] { return secondsOfRepair(damaged); }},
                           {"literal", [&] { return secondsOfLiteralSearch(damaged); }},
                           {"opencv", [&] { return secondsOfMedian(damaged, filtered); }}});
        });
}
