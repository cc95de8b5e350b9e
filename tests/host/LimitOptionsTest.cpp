#include "CommandParser.h"
#include "Limits.h"
#include "Output.h"

#include <QtTest>

#include <cstdlib>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/** True when a new block of @p bytes, of which many were written and freed before, holds but zeros. */
bool isNewMemoryZero(size_t bytes)
{
    for (int turn = 0; turn < 20; ++turn) {
        auto* block = static_cast<volatile unsigned char*>(std::malloc(bytes));
        unsigned found = 0;
        for (size_t i = 0; i < bytes; ++i) {
            found |= block[i];
            block[i] = 7;
        }
        std::free(const_cast<unsigned char*>(block));
        if (found != 0)
            return false;
    }
    return true;
}

/** Runs a program of the one command "check", which asks for new memory, in a process of its own. */
bool findsZeros(QByteArray option)
{
    const pid_t child = ::fork();
    if (child == 0) {
        bool isZero = true;
        Output output;
        CommandParser parser("program", "", "", "");
        addLimitOptions(parser.program());
        parser.program().subcommand("check", "", "").setWork([&](Output&) {
            for (const size_t bytes : {4000U, 100000U, 30000000U})
                isZero = isNewMemoryZero(bytes) && isZero;
            return ExitCode::Done;
        });
        char name[] = "program";
        char command[] = "check";
        char* arguments[] = {name, option.data(), command, nullptr};
        parser.run(3, arguments, output);
        ::_exit(isZero ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status == 0;
}

}  // namespace

/** --memory-limit and --untrusted, from inside: what can not be seen from outside of the process. */
class LimitOptionsTest : public QObject {
    Q_OBJECT
private slots:
    void untrustedZeroesNewMemory();
};

void LimitOptionsTest::untrustedZeroesNewMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("sanitizers have an allocator of their own");
#endif
    QVERIFY(!findsZeros("--memory-limit=1G"));  // the check sees old bytes
    QVERIFY(findsZeros("--untrusted"));
}

QTEST_GUILESS_MAIN(LimitOptionsTest)
#include "LimitOptionsTest.moc"
