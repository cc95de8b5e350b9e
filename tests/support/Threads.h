/**
 * @file
 * Work in many threads at once.
 */
#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace testing {

/** Runs @p work(thread) in @p count threads, which begin at the same moment; in how many of them it said false. */
inline int failuresInThreads(int count, const std::function<bool(int thread)>& work)
{
    std::atomic<int> waiting{count};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < count; ++thread)
        threads.emplace_back([&, thread] {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            if (!work(thread))
                ++failures;
        });
    for (std::thread& thread : threads)
        thread.join();
    return failures;
}

}  // namespace testing
