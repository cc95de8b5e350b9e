#include "BashCompletion.h"

#include <algorithm>
#include <sstream>

namespace {

/** @p words as one word of the shell. */
std::string quoted(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : " ") + word;
    std::string result = "'";
    for (char c : line)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

void writeCommandCase(const CommandTree& command, std::ostream& script)
{
    std::vector<std::string> subcommands;
    for (const CommandTree& subcommand : command.subcommands)
        subcommands.push_back(subcommand.name);
    std::vector<std::string> options;
    for (const Argument& option : command.options)
        options.insert(options.end(), option.names.begin(), option.names.end());
    std::vector<std::string> choices;
    bool takesFiles = false;
    for (const Argument& positional : command.positionals) {
        choices.insert(choices.end(), positional.choices.begin(), positional.choices.end());
        takesFiles = takesFiles || positional.isFile;
    }
    script << "    " << quoted({command.path}) << ")\n";
    script << "        subcommands=" << quoted(subcommands) << " options=" << quoted(options)
           << " choices=" << quoted(choices) << " files=" << (takesFiles ? "yes" : "") << " ;;\n";
}

void writeValueCases(const CommandTree& command, std::ostream& script)
{
    for (const Argument& option : command.options) {
        if (option.label.empty())
            continue;
        for (const std::string& name : option.names)
            script << "    " << quoted({command.path, name}) << ") choices=" << quoted(option.choices)
                   << " files=" << (option.isFile ? "yes" : "") << " ;;\n";
    }
}

// What is the same for every program: finds the command and the option that the cursor stands in.
constexpr const char* completion = R"(
_@()
{
    local subcommands options choices files
    local command=@ option='' rest='' words word i
    local current=${COMP_WORDS[COMP_CWORD]}
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ $rest ]]; then
            continue
        elif [[ $option ]]; then
            [[ $word == = ]] || option=''
        elif [[ $word == -- ]]; then
            rest=yes
        elif [[ $word == -* ]]; then
            _@_value "$command" "$word" && option=$word
        else
            _@_command "$command"
            [[ " $subcommands " == *" $word "* ]] && command+=" $word"
        fi
    done
    # "--option=value" comes as three words.
    [[ $option && $current == = ]] && current=''

    if [[ $option ]]; then
        _@_value "$command" "$option"
        words=$choices
    else
        _@_command "$command"
        words="$subcommands $choices"
        [[ $rest ]] && words=$choices
        [[ ! $rest && $current == -* ]] && words=$options files=''
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    if [[ $files ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _@ @
)";

}  // namespace

std::string bashCompletion(const CommandTree& program)
{
    std::ostringstream script;
    script << "# Completion of " << program.name << " in bash, made from the program's own options.\n\n";
    script << "# What can follow in the command $1.\n";
    script << "_" << program.name << "_command()\n{\n    case $1 in\n";
    forEachCommand(program, [&script](const CommandTree& command) { writeCommandCase(command, script); });
    script << "    esac\n}\n\n# What the option $2 of the command $1 takes; fails for one that takes nothing.\n";
    script << "_" << program.name << "_value()\n{\n    case \"$1 $2\" in\n";
    forEachCommand(program, [&script](const CommandTree& command) { writeValueCases(command, script); });
    script << "    *) return 1 ;;\n    esac\n}\n";
    std::string common = completion;
    for (size_t at = common.find('@'); at != std::string::npos; at = common.find('@', at)) {
        const bool isSubscript = common.compare(at, 2, "@]") == 0;  // of "${#COMPREPLY[@]}"
        if (!isSubscript)
            common.replace(at, 1, program.name);
        ++at;
    }
    script << common;
    return script.str();
}
