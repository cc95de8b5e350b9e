#include "ProgressDisplay.h"

#include "Output.h"

#include <algorithm>
#include <cwchar>
#include <system_error>

namespace {

constexpr int filesPerLine = 10;
constexpr auto timeBetweenBars = std::chrono::milliseconds(100);

/** How many columns of a terminal a character takes. */
int columnsOf(uint character)
{
    return std::max(0, wcwidth(static_cast<wchar_t>(character)));
}

/** The start of @p text that fits into so many columns, with an ellipsis when that is not all of it. */
QString clipped(const QString& text, int columns)
{
    const QVector<uint> characters = text.toUcs4();
    int used = 0;
    int kept = 0;  // characters that leave room for the ellipsis
    for (int i = 0; i < characters.size(); ++i) {
        used += columnsOf(characters[i]);
        if (used < columns)
            kept = i + 1;
        if (used > columns)
            return kept == 0 ? QString() : QString::fromUcs4(characters.constData(), kept) + QChar(0x2026);
    }
    return text;
}

/** "1:23" or "2:01:23". */
QString timeText(double seconds)
{
    constexpr int minute = 60;
    constexpr int hour = 3600;
    constexpr double longest = 99 * hour;
    const int whole = static_cast<int>(std::min(seconds, longest) + 0.5);
    const auto digits = [](int number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    if (whole < hour)
        return QStringLiteral("%1:%2").arg(QString::number(whole / minute), digits(whole % minute));
    return QStringLiteral("%1:%2:%3")
        .arg(QString::number(whole / hour), digits(whole / minute % minute), digits(whole % minute));
}

QString countText(const ProgressState& state)
{
    if (state.total <= 0)
        return QString::number(state.done);
    return QStringLiteral("%1 of %2").arg(state.done).arg(state.total);
}

double shareDone(const ProgressState& state)
{
    return state.total > 0 ? std::min(1.0, double(state.done) / state.total) : 0.0;
}

QString barText(const ProgressState& state, int size)
{
    const int full = static_cast<int>(shareDone(state) * size);
    return QLatin1Char('[') + QString(full, QLatin1Char('#')) + QString(size - full, QLatin1Char('-'))
           + QStringLiteral("]  ");
}

}  // namespace

QString progressLine(const ProgressState& state, int width)
{
    constexpr int longestBar = 20;
    constexpr int shortestBar = 6;
    constexpr int barFrame = 4;
    constexpr int shortestText = 6;
    constexpr int percent = 100;
    QString line = countText(state);
    if (state.total > 0)
        line = QStringLiteral("%1 %  ").arg(static_cast<int>(shareDone(state) * percent), 3) + line;
    if (line.size() > width)
        return line.left(std::max(0, width));
    const QString left =
        state.secondsLeft < 0 ? QString() : QStringLiteral("  %1 left").arg(timeText(state.secondsLeft));
    if (line.size() + left.size() <= width)
        line += left;
    const int bar = std::min(longestBar, width - line.size() - barFrame);
    if (state.total > 0 && bar >= shortestBar)
        line = barText(state, bar) + line;
    const int rest = width - line.size() - 2;
    if (rest >= shortestText && !state.current.isEmpty())
        line += QStringLiteral("  ") + clipped(printable(state.current), rest);
    return line;
}

ProgressDisplay::ProgressDisplay(Output& output, int total, bool quiet)
    : m_output(output), m_style(quiet                ? Style::Nothing
                                : output.hasStatus() ? Style::Bar
                                                     : Style::Lines)
{
    m_state.total = total;
    if (m_style != Style::Bar)
        return;
    try {
        m_painter = std::thread([this] { drawBars(); });
    } catch (const std::system_error&) {
        // Without the thread there is no bar; the work goes on.
    }
}

ProgressDisplay::~ProgressDisplay()
{
    finish();
}

void ProgressDisplay::setTotal(int total)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state.total = total;
}

void ProgressDisplay::setCurrent(const QString& current)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state.current = current;
}

void ProgressDisplay::setDone(int done)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    moveTo(done);
}

void ProgressDisplay::addDone()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    moveTo(m_state.done + 1);
}

void ProgressDisplay::moveTo(int done)
{
    m_state.done = done;
    if (m_style == Style::Lines && !m_isFinished && done / filesPerLine > m_saidDone / filesPerLine)
        sayLine();
}

void ProgressDisplay::sayLine()
{
    m_saidDone = m_state.done;
    m_output.remark(countText(m_state) + QStringLiteral(" files"));
}

void ProgressDisplay::finish()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_isFinished)
        return;
    m_isFinished = true;
    if (m_style == Style::Lines && m_saidDone < m_state.done)
        sayLine();
    lock.unlock();
    m_change.notify_all();
    if (m_painter.joinable())
        m_painter.join();
}

/** The state with the time left, reckoned from what was done so far. */
ProgressState ProgressDisplay::stateNow() const
{
    ProgressState state = m_state;
    const std::chrono::duration<double> passed = Clock::now() - m_start;
    if (state.done > 0 && state.total >= state.done)
        state.secondsLeft = passed.count() / state.done * (state.total - state.done);
    return state;
}

/** The painter's work: files may end far more often than a person can see, or so rarely that only the time moves. */
void ProgressDisplay::drawBars()
{
    QString shown;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isFinished) {
        const QString line = progressLine(stateNow(), m_output.statusWidth());
        if (line != shown)
            m_output.setStatus(line);
        shown = line;
        m_change.wait_for(lock, timeBetweenBars, [this] { return m_isFinished; });
    }
    m_output.setStatus(QString());
}
