#include "Trial.h"

#include "Fuzzing.h"

#include "Files.h"

#include <ep/CxImageFormatManager.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <ctime>
#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__)
#define ORN_OWN_ALLOCATOR 0
#elif defined(__has_feature)
#define ORN_OWN_ALLOCATOR !__has_feature(address_sanitizer)
#else
#define ORN_OWN_ALLOCATOR 1
#endif

namespace fuzzing {

namespace {

constexpr qint64 mostExcess = qint64(64) << 20;
constexpr int patterns[] = {0x55, 0xaa};

/** New memory starts with @p byte from here on, where the allocator can do so. */
void fillNewMemoryWith(int byte)
{
    mallopt(M_PERTURB, byte ^ 0xff);
}

double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/** The value of @p name in the process's own account of its memory. */
qint64 memoryOf(const char* name)
{
    const QByteArray status = testing::readFile(QStringLiteral("/proc/self/status"));
    const int at = status.indexOf(name);
    return at < 0 ? 0 : status.mid(at + int(qstrlen(name))).split('k').first().trimmed().toLongLong() * 1024;
}

/** The most memory from now on counts. */
void forgetPeak()
{
    testing::writeFile(QStringLiteral("/proc/self/clear_refs"), "5");
}

}  // namespace

bool Trial::fillsMemory()
{
#if ORN_OWN_ALLOCATOR
    // A block of the size of one that was just freed comes from a cache that is not filled, unless that is off.
    fillNewMemoryWith(patterns[0]);
    constexpr size_t size = 100;
    bool isFilled = true;
    for (int i = 0; i < 3; ++i) {
        auto* block = static_cast<volatile unsigned char*>(std::malloc(size));
        for (size_t at = 0; at < size; ++at) {
            isFilled = isFilled && block[at] == patterns[0];
            block[at] = 0;
        }
        std::free(const_cast<unsigned char*>(block));
    }
    return isFilled;
#else
    return false;
#endif
}

void Trial::warmUp(const QByteArray& input)
{
    once(input);
    m_heldBytes = std::max(m_heldBytes, memoryOf("VmRSS:"));
}

void Trial::once(const QByteArray& input)
{
    outcome().clear();
    // A copy of its own, without the zero that a byte array has behind its bytes, so that checkers see every step past.
    const std::vector<uint8_t> bytes(input.begin(), input.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

bool Trial::takesTooMuch(const QByteArray& input)
{
    // What is filled is touched, even where a library asked for much and uses little.
    fillNewMemoryWith(0xff);
    malloc_trim(0);
    forgetPeak();
    once(input);
    m_excess = memoryOf("VmHWM:") - m_heldBytes - 2 * outcome().imageBytes();
    if (m_excess <= mostExcess || outcome().isAccepted())
        return m_excess > mostExcess;
    auto* manager = ep::CxImageFormatManager::instance();
    manager->setMemoryLimit((m_excess - mostExcess) / 2);
    once(input);
    manager->setMemoryLimit(memoryLimit);
    if (!outcome().isTooLarge())
        return true;
    m_excess = mostExcess;
    return false;
}

const char* Trial::run(const QByteArray& input)
{
    QByteArray digest;
    const char* flaw = nullptr;
    for (const int pattern : patterns) {
        fillNewMemoryWith(pattern);
        forgetPeak();
        const double start = processorSeconds();
        once(input);
        m_seconds = processorSeconds() - start;
        m_excess = memoryOf("VmHWM:") - m_heldBytes - 2 * outcome().imageBytes();
        m_isAccepted = outcome().isAccepted();
        if (m_seconds > m_mostSeconds)
            flaw = "slow";
        const QByteArray given = outcome().digest();
        if (ORN_OWN_ALLOCATOR && m_excess > mostExcess && takesTooMuch(input))
            flaw = "memory";
        if (!digest.isEmpty() && digest != given)
            flaw = "unlike";
        digest = given;
        // Other allocators fill nothing, so that once is enough.
        if (!ORN_OWN_ALLOCATOR)
            break;
    }
    return flaw;
}

}  // namespace fuzzing
