/**
 * @file
 * Memory that runs out. Needs FailingAllocation.cpp among the test's sources.
 */
#pragma once

#include <QByteArray>

namespace testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool areAllRequestsSeen = false;  ///< the sanitizer has its own malloc, and looks for leaks itself
#else
constexpr bool areAllRequestsSeen = true;
#endif

/** Which requests for memory are counted and can fail. */
enum class Requests {
    Images,  ///< the storage of images, which ep::AllocBuffer() asks for
    // The same as Images unless areAllRequestsSeen:
    Ours,       ///< what this system and Qt ask for, but not the libraries below
    Everything  ///< whatever is asked of malloc
};

/** While it lives, one request for memory of this thread fails: the one of number @p failing, counted from 1. */
class FailingAllocation {
public:
    /** @param failing 0: none does, all are counted */
    FailingAllocation(Requests requests, int failing);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /** How many requests there were so far. */
    int count() const;
    /** Who asked for the one that failed, the nearest first: "library(function) ...". To be asked after the end. */
    static QByteArray callers();
};

/**
 * Blocks of memory that were not given back yet: of images those that were asked for under a FailingAllocation, else
 * those of the whole process. 0 unless areAllRequestsSeen.
 */
qint64 liveBlocks(Requests requests);

}  // namespace testing
