/**
 * @file
 * Operations for which memory runs out at one request after the other. Needs the library low_memory.
 */
#pragma once

#include "FailingAllocation.h"

#include <ep/CxMetadata.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <vector>

namespace testing {

/** What an operation is given, and what it made of it. */
struct Scene {
    static constexpr int columns = 24;
    static constexpr int rows = 22;

    Scene();
    QByteArray inputs() const;
    QByteArray results() const;
    /** Adds a number to what it made. Asks for no memory. */
    void say(double number) { numbers[size_t(count++) % numbers.size()] = number; }

    ep::CxScopedBuffer mosaic;
    ep::CxScopedBuffer photo;    // uint8, three channels
    ep::CxScopedBuffer planes;   // uint16, four channels, planar
    ep::CxScopedBuffer doubles;  // one channel, as the mask
    ep::CxScopedBuffer mask;
    ep::CxMetadata metadata;

    ep::CxScopedBuffer changed;  // the mosaic, changed in place; a failure may leave it half done
    ep::CxScopedBuffer made;
    QByteArray said;
    std::array<double, 8> numbers{};
    int count = 0;
    bool isSound = true;  // false: a failure broke another promise of the operation
};

/** How an operation tells that it had no memory. */
enum class Fails {
    ByResult,
    ByThrowing,  ///< it has no result that could say so
    Never        ///< it asks for none
};

struct Operation {
    /** The exported names that it is about, without their namespace and with a dot before members; then a remark. */
    const char* name;
    /** Its result: false when it says that it failed. */
    std::function<bool(Scene&)> run;
    Fails fails = Fails::ByResult;
    Requests requests = Requests::Everything;
    /** The file that it replaces: a failure leaves the old one, and nothing else beside it. */
    QString written = {};
};

inline bool ok(unsigned int status)
{
    return !ep::failed(status);
}

/** Adds one row for each of @p operations, with its index. */
void addRows(const std::vector<Operation>& operations);

/**
 * Runs @p operation with each of its requests for memory failing in turn; without long tests, with some of them. Gives
 * what was wrong: a failure that is not told, inputs that are changed, a leak, another result. Empty when nothing was.
 */
QString flawOf(const Operation& operation);

/**
 * The same for what an operation does when it is the first of its process: one request fails in each new process, which
 * then must work as if nothing had been. In long tests that is every seventh request. Leaks are not looked for.
 */
QString flawOfFirstUse(const Operation& operation);

/**
 * The functions that the library @p file exports in the namespace @p scope ("ep::") and that are neither named by one
 * of @p operations nor @p excluded, where a dot at the end stands for a whole class or namespace; and the names of
 * operations that are not exported. What Qt's compiler writes, and destructors, do not count.
 */
QStringList unlisted(const QString& file, const QString& scope, const std::vector<Operation>& operations,
                     const QStringList& excluded);

/** How many operations were tried and how many requests failed so far, for people. */
QString lowMemoryFigures();

}  // namespace testing
