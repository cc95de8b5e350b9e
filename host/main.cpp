/**
 * @file
 * The command line program `orn`.
 */
#include "Cancellation.h"
#include "CommandLine.h"
#include "Output.h"

#include <orn/orn_core.h>

#include <QTextCodec>

#include <cerrno>
#include <clocale>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

/** A stream that came closed is taken, with an end that fails: else the next file opened would be written into. */
void occupyStandardStreams()
{
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1 && errno == EBADF)
            static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

/** File names are UTF-8 in every environment; a reader that went away and a file size limit are met where data is
 * written. */
void prepareProcess()
{
    occupyStandardStreams();
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    endCleanlyOnSignals();
}

}  // namespace

int main(int argc, char** argv)
{
    prepareProcess();
    orn::Init();
    Output output;
    CommandParser program = commandLine();
    const ExitCode exitCode = program.run(argc, argv, output);
    leaveToInterrupt();
    orn::Finish();
    return static_cast<int>(exitCode);
}
