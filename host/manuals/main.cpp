/**
 * @file
 * Writes the manual page and the shell completions of `orn` from the command line that the program parses.
 *
 * make-manuals DATE MAN_PAGE BASH_COMPLETION ZSH_COMPLETION
 */
#include "BashCompletion.h"
#include "CommandTree.h"
#include "ManPage.h"
#include "ZshCompletion.h"

#include "../CommandLine.h"

#include <fstream>
#include <iostream>

namespace {

bool write(const char* path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file)
        std::cerr << path << ": it cannot be written\n";
    return static_cast<bool>(file);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::cerr << "usage: make-manuals DATE MAN_PAGE BASH_COMPLETION ZSH_COMPLETION\n";
        return 2;
    }
    const CommandParser parser = commandLine();
    const CommandTree program = commandTree(parser);
    const bool isWritten = write(argv[2], manPage(program, parser.version(), argv[1]))
                           && write(argv[3], bashCompletion(program)) && write(argv[4], zshCompletion(program));
    return isWritten ? 0 : 1;
}
