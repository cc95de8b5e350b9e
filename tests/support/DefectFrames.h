/**
 * @file
 * Dark and flat frames of a sensor with known defects.
 */
#pragma once

#include "TestImages.h"

#include <orn/DefectList.h>

#include <QVector>

#include <cmath>
#include <vector>

namespace testing {

/** What a generated sensor is like. */
struct SensorKind {
    ep::ExImageDataType type = ep::DataTypeUInt16;
    ep::ExBayerGrid grid = ep::BayerGridNone;
    int channels = 1;
    int width = 400;
    int height = 300;
    double level = 512;        ///< of a dark frame, or of a flat one at its brightest
    double highest = 16383;    ///< where samples saturate
    double readNoise = 5;      ///< sigma from frame to frame
    double glow = 0;           ///< amplifier glow at the bottom right corner: level there, falling with e^-(r/90)
    double vignetting = 0;     ///< part of the light that is lost in the corners
    double fixedPattern = 1;   ///< sigma from pixel to pixel that is the same in every frame
    double columnPattern = 0;  ///< the same from column to column
    bool isFlat = false;       ///< lit: the level has shot noise, and the fixed pattern is a fraction of it
    double scale = 1;  ///< a sample is this many levels; with samples that are no integers, they are not rounded
};

/** A sensor with defects, which takes frames of nothing. */
class DefectiveSensor {
public:
    DefectiveSensor(const SensorKind& kind, quint32 seed) : m_kind(kind), m_random(seed)
    {
        const auto samples =
            static_cast<size_t>(kind.width) * static_cast<size_t>(kind.height) * static_cast<size_t>(kind.channels);
        m_pixels.resize(samples);
        std::vector<double> columns(static_cast<size_t>(kind.width));
        for (double& column : columns)
            column = kind.columnPattern * normal();
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < kind.height; ++y)
                for (int x = 0; x < kind.width; ++x) {
                    const double smooth = smoothLevel(x, y, c);
                    const double pattern = kind.isFlat ? kind.fixedPattern * smooth : kind.fixedPattern;
                    at(x, y, c) = {smooth + pattern * normal() + columns[size_t(x)], temporalNoise(smooth, x, y),
                                   false};
                }
    }

    /**
     * Makes @p count of the pixels defective, the first @p kinds of hot, dead and stuck in turns. Hot and dead ones are
     * off by @p least to @p most sigma of the mean of @p frames frames.
     */
    void breakPixels(int count, int kinds, int frames, double least, double most)
    {
        while (m_defects.size() < count) {
            const int x = int(m_random() % quint32(m_kind.width));
            const int y = int(m_random() % quint32(m_kind.height));
            const int c = int(m_random() % quint32(m_kind.channels));
            breakPixel(x, y, c, orn::DefectHot + m_defects.size() % kinds, frames, least + (most - least) * uniform());
        }
    }

    void breakPixel(int x, int y, int c, int kind, int frames, double strength)
    {
        for (const orn::SxDefect& other : m_defects)
            if (other.x == x && other.y == y)
                return;
        Pixel& pixel = at(x, y, c);
        const double smooth = smoothLevel(x, y, c);
        const double pattern = m_kind.isFlat ? m_kind.fixedPattern * smooth : m_kind.fixedPattern;
        const double sigma = std::sqrt(pattern * pattern + m_kind.columnPattern * m_kind.columnPattern
                                       + pixel.noise * pixel.noise / frames + 1.0 / 12);
        if (kind == orn::DefectHot)
            pixel.level = smooth + strength * sigma;
        else if (kind == orn::DefectDead)
            pixel.level = smooth - strength * sigma;
        else
            pixel = {smooth + 2 * pixel.noise * (uniform() - 0.5), 0, true};
        m_defects.append({x, y, kind, 0});
    }

    ep::CxScopedBuffer takeFrame()
    {
        ep::SxImageInfo info = describe(m_kind.type, m_kind.width, m_kind.height, m_kind.channels);
        info.bayerGrid = m_kind.grid;
        info.patternWidth = info.patternHeight = m_kind.grid == ep::BayerGridNone ? 0 : 2;
        ep::CxScopedBuffer frame = randomImage(info);
        for (int c = 0; c < m_kind.channels; ++c)
            for (int y = 0; y < m_kind.height; ++y)
                for (int x = 0; x < m_kind.width; ++x)
                    store(frame.image(), x, y, c, at(x, y, c).level + at(x, y, c).noise * normal());
        return frame;
    }

    /**
     * Takes a picture of @p scene, levels on top of which comes what the sensor adds in the dark: noise, glow, and
     * the light of hot pixels. Dead and stuck pixels do not see the scene.
     */
    ep::CxScopedBuffer takePicture(const ep::SxImageBuf& scene)
    {
        ep::CxScopedBuffer picture = takeFrame();
        for (int c = 0; c < m_kind.channels; ++c)
            for (int y = 0; y < m_kind.height; ++y)
                for (int x = 0; x < m_kind.width; ++x)
                    store(picture.image(), x, y, c, levelOf(scene, x, y, c));
        return picture;
    }

    const QVector<orn::SxDefect>& defects() const { return m_defects; }
    double uniform() { return m_random() / 4294967296.0; }
    double normal() { return m_normal(m_random); }

private:
    struct Pixel {
        double level;
        double noise;
        bool isStuck;
    };

    double levelOf(const ep::SxImageBuf& scene, int x, int y, int c)
    {
        const Pixel& pixel = at(x, y, c);
        for (const orn::SxDefect& defect : m_defects)
            if (defect.x == x && defect.y == y && defect.kind != orn::DefectHot)
                return pixel.level + pixel.noise * normal();
        const double light = sampleAt<quint16>(scene, x, y, c);
        return light + pixel.level - smoothLevel(x, y, c) + std::sqrt(pixel.noise * pixel.noise + light) * normal();
    }

    Pixel& at(int x, int y, int c)
    {
        return m_pixels[(size_t(c) * size_t(m_kind.height) + size_t(y)) * size_t(m_kind.width) + size_t(x)];
    }

    double smoothLevel(int x, int y, int c) const
    {
        const double fromCentre = std::hypot((x + 0.5) / m_kind.width - 0.5, (y + 0.5) / m_kind.height - 0.5);
        const double fromCorner = std::hypot(m_kind.width - x, m_kind.height - y);
        // Colours differ in light.
        const int colour = m_kind.grid == ep::BayerGridNone ? c : x % 2 + 2 * (y % 2);
        const double light = m_kind.isFlat ? 1 - 0.2 * colour : 1;
        return m_kind.level * light * (1 - 2 * m_kind.vignetting * fromCentre * fromCentre)
               + m_kind.glow * std::exp(-fromCorner / 90);
    }

    double temporalNoise(double smooth, int x, int y) const
    {
        const double glow = m_kind.glow * std::exp(-std::hypot(m_kind.width - x, m_kind.height - y) / 90);
        return std::sqrt(m_kind.readNoise * m_kind.readNoise + (m_kind.isFlat ? smooth : glow));
    }

    void store(ep::SxImageBuf& frame, int x, int y, int c, double level)
    {
        const double value = qBound(0.0, level, m_kind.highest);
        switch (m_kind.type) {
        case ep::DataTypeUInt8: return setSample(frame, x, y, c, quint8(std::lround(value)));
        case ep::DataTypeInt16: return setSample(frame, x, y, c, qint16(std::lround(value) - 1000));
        case ep::DataTypeUInt32: return setSample(frame, x, y, c, quint32(std::lround(value)) * 1000);
        case ep::DataTypeFloat: return setSample(frame, x, y, c, float(value * m_kind.scale));
        case ep::DataTypeDouble: return setSample(frame, x, y, c, value * m_kind.scale);
        default: return setSample(frame, x, y, c, quint16(std::lround(value) * std::lround(m_kind.scale)));
        }
    }

    SensorKind m_kind;
    std::mt19937 m_random;
    std::normal_distribution<double> m_normal;
    std::vector<Pixel> m_pixels;
    QVector<orn::SxDefect> m_defects;
};

/** How well found defects are those that there are. */
struct SearchQuality {
    int right = 0;  ///< found defects that are some
    int wrong = 0;  ///< found ones that are none
    int missed = 0;
    int rightKind = 0;  ///< found ones of the right kind

    double precision() const { return right + wrong == 0 ? 1 : double(right) / (right + wrong); }
    double recall() const { return right + missed == 0 ? 1 : double(right) / (right + missed); }
};

inline SearchQuality qualityOf(const QVector<orn::SxDefect>& found, const QVector<orn::SxDefect>& actual)
{
    SearchQuality quality;
    for (const orn::SxDefect& defect : found) {
        const auto same = std::find_if(actual.begin(), actual.end(), [&](const orn::SxDefect& other) {
            return other.x == defect.x && other.y == defect.y;
        });
        quality.right += same != actual.end();
        quality.wrong += same == actual.end();
        quality.rightKind += same != actual.end() && same->kind == defect.kind;
    }
    quality.missed = actual.size() - quality.right;
    return quality;
}

/** Root of the mean square of picture - scene at the places. */
inline double errorAt(const QVector<orn::SxDefect>& places, const ep::SxImageBuf& picture, const ep::SxImageBuf& scene)
{
    double squares = 0;
    for (const orn::SxDefect& place : places) {
        const double apart =
            double(sampleAt<quint16>(picture, place.x, place.y)) - sampleAt<quint16>(scene, place.x, place.y);
        squares += apart * apart;
    }
    return std::sqrt(squares / places.size());
}

}  // namespace testing
