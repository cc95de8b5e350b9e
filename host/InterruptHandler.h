/**
 * @file
 * Work that ends by itself when the program is interrupted.
 */
#pragma once

#include <functional>

/**
 * While an object lives, the first SIGINT, SIGTERM or SIGHUP calls its function instead of ending the program; the
 * second one ends it as endCleanlyOnSignals() says. One object at a time. The function runs on a thread of its own,
 * soon returns and does not destroy the object: it asks the work to stop.
 */
class InterruptHandler {
public:
    explicit InterruptHandler(std::function<void()> onInterrupt);
    /** Waits for a call that is under way; none comes afterwards. */
    ~InterruptHandler();
    InterruptHandler(const InterruptHandler&) = delete;
    InterruptHandler& operator=(const InterruptHandler&) = delete;

    /** For the thread that signals go to: true when an object has taken this interrupt. */
    static bool takesInterrupt();

private:
    std::function<void()> m_onInterrupt;
};
