/**
 * @file
 * How much memory a piece of code asks for. Needs AllocationWatch.cpp among the test's sources.
 */
#pragma once

#include <cstddef>

namespace testing {

/** Counts what this process asks malloc and its relatives for, from its construction on. One at a time. */
class AllocationWatch {
public:
    AllocationWatch();
    /** All requests together, those included that were freed or refused since. */
    static size_t total();
    /** The largest single request. */
    static size_t largest();
};

}  // namespace testing
