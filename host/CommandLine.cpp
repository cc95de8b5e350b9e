#include "CommandLine.h"

#include "CompareCommand.h"
#include "ConvertCommand.h"
#include "DefectsCommand.h"
#include "DepthCommand.h"
#include "DiffCommand.h"
#include "FormatsCommand.h"
#include "InfoCommand.h"
#include "Limits.h"
#include "MatCommand.h"
#include "PluginsCommand.h"
#include "PreviewCommand.h"
#include "RepairCommand.h"
#include "SplitCommand.h"

namespace {

constexpr AddCommand commands[] = {
    addInfoCommand, addConvertCommand, addCompareCommand, addPreviewCommand, addRepairCommand,  addDefectsCommand,
    addDiffCommand, addSplitCommand,   addDepthCommand,   addMatCommand,     addPluginsCommand, addFormatsCommand,
};

}  // namespace

CommandParser commandLine()
{
    CommandParser parser(
        "orn", "Images of cameras: what they hold, and from one format into another", "orn " ORN_VERSION,
        "  orn info photo.dng\n"
        "  orn convert photo.dng photo.mat\n"
        "  orn convert --help\n"
        "  orn --untrusted convert download.dng download.mat\n"
        "\n"
        "--untrusted is for files that may be made to harm. An image may take at most 1 GiB (less with\n"
        "--memory-limit), the program 4 times that and 2 GiB of addresses, a file that it writes twice that,\n"
        "and each file 60 seconds of processor time. MAT files of version 7.3 are refused, because the HDF5\n"
        "library can crash on forged ones.\n"
        "\n"
        "Exit codes: 0 done, 1 some files failed or images differ, 2 usage, 3 unreadable input,\n"
        "4 unwritable output, 5 refused (would lose samples, too large), 130 cancelled");
    const Command program = parser.program();
    addLimitOptions(program);
    for (AddCommand add : commands)
        add(program);
    return parser;
}
