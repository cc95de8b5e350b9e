#include "JudgePlane.h"

#include "StuckChance.h"
#include "TileField.h"

#include <algorithm>
#include <limits>

namespace orn {

namespace {

constexpr qint32 backgroundTile = 16;
constexpr qint32 noiseTile = 32;
constexpr double sigmaOfDeviation = 1.4826;  // of the median absolute deviation of normal numbers
constexpr double stuckByChance = 0.01;       // expected number in a frame
// Pixels differ in noise: one with less than its surroundings shows equal values more often.
constexpr double quietPixel = 0.75;
// Noise below this part of the background is the rounding of the background itself.
constexpr double leastNoise = 1.0 / (1 << 20);

/** Numbers from -0.5 to 0.5 that look random and are the same in every run. */
class Scatter {
public:
    explicit Scatter(qint32 row) : m_state((static_cast<quint64>(row) + 1) * 0x9E3779B97F4A7C15u) {}
    double next()
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<double>(m_state >> 40) / (1 << 24) - 0.5;
    }

private:
    quint64 m_state;
};

/** Smallest distance of two of the values without their outermost 2 % on either side; 0 when these are all one. */
double smallestStep(std::vector<double>& values)
{
    std::sort(values.begin(), values.end());
    const std::size_t margin = values.size() / 50;
    double step = 0;
    for (std::size_t i = margin + 1; i + margin < values.size(); ++i) {
        const double apart = values[i] - values[i - 1];
        if (apart > 0 && (step == 0 || apart < step))
            step = apart;
    }
    return step;
}

/** Measures one plane, and then judges it. */
class Judge {
public:
    Judge(const FrameStack& stack, const SxImagePlane& plane, const SxDefectLimits& limits, qint32 width, qint32 height)
        : m_stack(stack), m_plane(plane), m_limits(limits), m_width(static_cast<std::size_t>(width)),
          m_background(width, height, backgroundTile, TileSurface::Cubic),
          m_noise(width, height, noiseTile, TileSurface::Bilinear),
          m_temporal(width, height, noiseTile, TileSurface::Bilinear), m_light(m_width)
    {
    }

    bool measure();
    /** The ExDefectKind of each sample of row @p y. */
    void judgeRow(qint32 y, std::vector<qint32>& kinds);
    void describe(SxDefectPlane& answer) const;

private:
    void measureStep();
    void measureTemporalNoise();
    void measureBackground();
    void measureNoise();
    double scatterWidth() const;
    void readScattered(qint32 y, double* row) const;
    void subtractBackground(qint32 y, double* row);
    double stuckNoise() const;
    void findStuck(qint32 y, std::vector<qint32>& kinds) const;

    const FrameStack& m_stack;
    const SxImagePlane& m_plane;
    const SxDefectLimits& m_limits;
    std::size_t m_width;
    double m_step = 0;  // quantisation of the samples
    TileField m_background;
    TileField m_noise;                                          // of the mean, from pixel to pixel
    TileField m_temporal;                                       // of a sample, from frame to frame
    double m_tellsStuck = 0;                                    // the temporal noise that does
    double m_lowest = std::numeric_limits<double>::infinity();  // of all samples of all frames
    double m_highest = -std::numeric_limits<double>::infinity();
    std::vector<double> m_light;  // a row of the background
};

void Judge::measureStep()
{
    // Some 16 rows of tiles say it as well as all.
    const qint32 everyRow = qMax(1, m_background.rows().count() / 16);
    std::vector<double> steps;
    std::size_t tiles = 0;
    std::vector<double> most(m_width);
    forEachTile(
        m_background, [&](qint32 y, double* row) { m_stack.extremeRows(m_plane, y, row, most.data()); },
        [&](qint32, qint32, std::vector<double>& values) {
            ++tiles;
            const double step = smallestStep(values);
            if (step > 0)
                steps.push_back(step);
        },
        everyRow);
    const ep::ExImageDataType type = m_stack.description().dataType;
    const bool isReal = type == ep::DataTypeFloat || type == ep::DataTypeDouble;
    m_step = steps.size() * 2 > tiles ? medianOf(steps) : isReal ? 0 : 1;
}

void Judge::measureTemporalNoise()
{
    if (m_stack.frames() < 2)
        return;
    const double range = expectedRange(m_stack.frames());
    std::vector<double> most(m_width);
    const auto readRanges = [&](qint32 y, double* row) {
        m_stack.extremeRows(m_plane, y, row, most.data());
        for (std::size_t x = 0; x < most.size(); ++x) {
            m_lowest = std::min(m_lowest, row[x]);
            m_highest = std::max(m_highest, most[x]);
            row[x] = most[x] - row[x];
        }
    };
    forEachTile(m_temporal, readRanges, [&](qint32 column, qint32 row, std::vector<double>& values) {
        m_temporal.at(column, row) = medianOf(values) / range;
    });
    m_temporal.fillGaps();
}

double Judge::scatterWidth() const
{
    const int frames = m_stack.frames();
    // Noise of half a step or more lets the mean of many frames take values between the steps.
    if (frames == 1 || m_temporal.median() < m_step / 2)
        return m_step;
    return m_step / (frames < 3 ? frames : frames - 2);
}

/** The mean row, scattered over the steps that its values lie on: the medians of small noise would lie on them too. */
void Judge::readScattered(qint32 y, double* row) const
{
    m_stack.meanRow(m_plane, y, row);
    Scatter scatter(y);
    const double width = scatterWidth();
    for (std::size_t x = 0; x < m_width; ++x)
        row[x] += width * scatter.next();
}

void Judge::measureBackground()
{
    forEachTile(
        m_background, [&](qint32 y, double* row) { readScattered(y, row); },
        [&](qint32 column, qint32 row, std::vector<double>& values) {
            m_background.at(column, row) = medianOf(values);
        });
    m_background.fillGaps();
    // The median of a tile in which the light bends is not that at its centre: add what is left.
    TileField rest = m_background;
    const auto readRest = [&](qint32 y, double* row) {
        readScattered(y, row);
        m_background.interpolateRow(y, m_light.data());
        for (std::size_t x = 0; x < m_width; ++x)
            row[x] -= m_light[x];
    };
    forEachTile(rest, readRest, [&](qint32 column, qint32 row, std::vector<double>& values) {
        rest.at(column, row) = m_background.at(column, row) + (values.empty() ? 0 : medianOf(values));
    });
    m_background = rest;
}

/** Turns the mean row into deviations from the background. */
void Judge::subtractBackground(qint32 y, double* row)
{
    m_background.interpolateRow(y, m_light.data());
    for (std::size_t x = 0; x < m_width; ++x)
        row[x] -= m_light[x];
    if (!m_limits.isFlat)
        return;
    // Past the outermost tiles the surface might run below what was measured anywhere.
    const double darkest = m_background.least() / 2;
    for (std::size_t x = 0; x < m_width; ++x)
        row[x] /= std::max(m_light[x], darkest);
}

void Judge::measureNoise()
{
    const auto readDeviations = [&](qint32 y, double* row) {
        readScattered(y, row);
        subtractBackground(y, row);
        for (std::size_t x = 0; x < m_width; ++x)
            row[x] = std::fabs(row[x]);
    };
    forEachTile(m_noise, readDeviations, [&](qint32 column, qint32 row, std::vector<double>& values) {
        m_noise.at(column, row) = sigmaOfDeviation * medianOf(values);
    });
    m_noise.fillGaps();
}

/** The noise from frame to frame that tells stuck pixels from chance. */
double Judge::stuckNoise() const
{
    if (m_stack.frames() < 3)
        return std::numeric_limits<double>::infinity();
    const ep::SxImageInfo& frame = m_stack.description();
    const double samples = double(frame.width) * frame.height * frame.channels;
    const double steps = noiseThatTellsStuck(m_stack.frames(), samples, stuckByChance) / quietPixel;
    // Samples without steps are never equal by chance, unless there is no noise at all.
    return std::max(steps * m_step, std::numeric_limits<double>::min());
}

bool Judge::measure()
{
    measureStep();
    measureTemporalNoise();
    m_tellsStuck = stuckNoise();
    measureBackground();
    if (m_limits.isFlat && !(m_background.least() > 0))
        return false;
    measureNoise();
    return true;
}

void Judge::judgeRow(qint32 y, std::vector<qint32>& kinds)
{
    std::vector<double> deviations(m_width);
    std::vector<double> noise(m_width);
    m_stack.meanRow(m_plane, y, deviations.data());
    subtractBackground(y, deviations.data());
    m_noise.interpolateRow(y, noise.data());
    for (std::size_t x = 0; x < m_width; ++x) {
        const double limit =
            m_limits.sigma * std::max(noise[x], leastNoise * (m_limits.isFlat ? 1 : std::fabs(m_light[x])));
        const bool isSound = std::fabs(deviations[x]) <= limit;  // a NaN is not
        kinds[x] = isSound ? DefectUntold : deviations[x] > limit ? DefectHot : DefectDead;
    }
    findStuck(y, kinds);
}

void Judge::findStuck(qint32 y, std::vector<qint32>& kinds) const
{
    std::vector<double> least(m_width);
    std::vector<double> most(m_width);
    m_stack.extremeRows(m_plane, y, least.data(), most.data());
    const TileRuler& columns = m_temporal.columns();
    const qint32 row = m_temporal.rows().tileAt(y);
    for (qint32 column = 0; column < columns.count(); ++column) {
        if (m_temporal.at(column, row) < m_tellsStuck)
            continue;
        const auto end = static_cast<std::size_t>(columns.begin(column + 1));
        for (auto x = static_cast<std::size_t>(columns.begin(column)); x < end; ++x)
            // At either end of the range, clipping makes values equal.
            if (least[x] == most[x] && least[x] > m_lowest && least[x] < m_highest)
                kinds[x] = DefectStuck;
    }
}

void Judge::describe(SxDefectPlane& answer) const
{
    answer.background = m_background.median();
    answer.sigma = m_noise.median();
    answer.temporalNoise = m_temporal.median();
    answer.tellsStuck = answer.temporalNoise >= m_tellsStuck;
}

void count(qint32 kind, SxDefectPlane& answer)
{
    answer.hot += kind == DefectHot;
    answer.dead += kind == DefectDead;
    answer.stuck += kind == DefectStuck;
}

}  // namespace

bool judgePlane(const FrameStack& stack, const SxImagePlane& plane, const SxDefectLimits& limits,
                const ep::internal::PlaneView& kinds, SxDefectPlane& answer)
{
    Judge judge(stack, plane, limits, kinds.width, kinds.height);
    if (!judge.measure())
        return false;
    judge.describe(answer);
    answer.samples = static_cast<qint64>(kinds.width) * kinds.height;
    std::vector<qint32> row(static_cast<std::size_t>(kinds.width));
    for (qint32 y = 0; y < kinds.height; ++y) {
        judge.judgeRow(y, row);
        for (qint32 x = 0; x < kinds.width; ++x) {
            const qint32 kind = row[static_cast<std::size_t>(x)];
            if (kind == DefectUntold)
                continue;
            count(kind, answer);
            unsigned char* const place = kinds.sample(x, y);
            if (*place == DefectUntold || kind == DefectStuck)
                *place = static_cast<unsigned char>(kind);
        }
    }
    return true;
}

}  // namespace orn
