/**
 * @file
 * How far a long command is.
 */
#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

class Output;

/** How far some work is. */
struct ProgressState {
    int total = 0;
    int done = 0;
    QString current;          ///< what is being worked on
    double secondsLeft = -1;  ///< negative: not known yet
};

/**
 * "[#######-------------]  34 %  170 of 500  1:23 left  photo.dng" in at most @p width columns of a terminal. What does
 * not fit is left out: of the text the end, then the bar, then the time.
 */
QString progressLine(const ProgressState& state, int width);

/**
 * Shows on standard error how far a command is. On a terminal as a bar below all messages, which goes away at the end;
 * elsewhere, and where NO_COLOR is set, as a line every ten files and at the end; not at all when quiet. Thread-safe.
 */
class ProgressDisplay {
public:
    /** Starts the clock that the time left is reckoned by. A @p total of 0 is not known yet. */
    ProgressDisplay(Output& output, int total, bool quiet = false);
    ~ProgressDisplay();  ///< finish()
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void setTotal(int total);
    void setCurrent(const QString& current);  ///< what is being worked on now
    void setDone(int done);
    void addDone();  ///< one more
    /** Shows nothing more: the bar goes away, or the last line is said when it was not yet. */
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    enum class Style { Bar, Lines, Nothing };

    void moveTo(int done);
    void sayLine();
    void drawBars();
    ProgressState stateNow() const;

    Output& m_output;
    const Style m_style;
    const Clock::time_point m_start = Clock::now();

    std::mutex m_mutex;  // guards all that follows
    std::condition_variable m_change;
    ProgressState m_state;
    int m_saidDone = 0;
    bool m_isFinished = false;
    std::thread m_painter;
};
