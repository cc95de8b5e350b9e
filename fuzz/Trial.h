/**
 * @file
 * One input, run and judged.
 */
#pragma once

#include <QByteArray>

#include <limits>

namespace fuzzing {

/** Runs inputs in this process and compares what they cost and give with what is promised. */
class Trial {
public:
    /** @param mostSeconds  of processor time that an input may take */
    explicit Trial(double mostSeconds) : m_mostSeconds(mostSeconds) {}

    /** Runs @p input once, so that what the libraries keep for good is not counted against a later one. */
    void warmUp(const QByteArray& input);
    /** @return what is wrong: "slow", "memory" or "unlike"; null when nothing is */
    const char* run(const QByteArray& input);

    bool isAccepted() const { return m_isAccepted; }
    double seconds() const { return m_seconds; }
    /** Memory beyond what the process held when it was warm and twice the image that the input gave. */
    qint64 excessBytes() const { return m_excess; }

    /** True when new memory is filled here as run() wants it; false under a sanitizer or another allocator. */
    static bool fillsMemory();

private:
    void once(const QByteArray& input);
    /** True when @p input takes more than twice the image that it states, whether or not it has it, and what is free.
     */
    bool takesTooMuch(const QByteArray& input);

    double m_mostSeconds;
    qint64 m_heldBytes = 0;
    bool m_isAccepted = false;
    double m_seconds = 0;
    qint64 m_excess = 0;
};

}  // namespace fuzzing
