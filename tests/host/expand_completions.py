"""Completes command lines as a person does: in an interactive shell on a terminal, by a key.

expand_completions.py SHELL SCRIPT FOLDER LINE...: SHELL is bash or zsh, SCRIPT the file that describes the completion,
FOLDER the working folder. For each LINE, prints as JSON the words that stand on the command line after the key that
inserts every completion of the last word was pressed.
"""
import json
import os
import pty
import select
import sys
import tempfile
import time


SETUP = {
    'bash': [
        "bind '\"\\C-t\": insert-completions'",
        "bind 'set enable-bracketed-paste off'",
        'source "$SCRIPT"',
    ],
    'zsh': [
        'unsetopt BEEP ZLE_BRACKETED_PASTE; zle_bracketed_paste=()',
        'fpath=("${SCRIPT:h}" $fpath); autoload -U compinit; compinit -u -D',
        'zle -C every complete-word _generic',
        "zstyle ':completion:every:*' completer _all_matches _complete",
        "zstyle ':completion:every:*' insert true",
        "zstyle ':completion:every:*' list-colors ''",
        "bindkey -e; bindkey '^T' every",
    ],
}
COMMAND = {'bash': ['bash', '--noprofile', '--norc', '-i'], 'zsh': ['zsh', '-f', '-i']}


class Terminal:
    def __init__(self, shell, script, folder, answer):
        self.answer = answer
        pid, self.descriptor = pty.fork()
        if pid == 0:
            os.chdir(folder)
            environment = dict(os.environ, SCRIPT=script, ANSWER=answer, TERM='dumb', PS1='$ ', COLUMNS='1000')
            os.execvpe(COMMAND[shell][0], COMMAND[shell], environment)

    def enter(self, line, keys=b''):
        """Types a line and waits until its command has written the answer file, whose words are returned."""
        os.write(self.descriptor, line.encode() + keys + b'\n')
        end = time.monotonic() + 30
        while time.monotonic() < end:
            if select.select([self.descriptor], [], [], 0.02)[0]:
                os.read(self.descriptor, 65536)
            if os.path.exists(self.answer + '.done'):
                with open(self.answer, encoding='utf-8') as file:
                    words = file.read().split('\0')
                os.remove(self.answer + '.done')
                return words[:-1]
        sys.exit('no answer to ' + line)


# Runs in the shell: what it is called with is what stood on the line.
ANSWER = "answer() { printf '%s\\0' \"$@\" > \"$ANSWER\"; : > \"$ANSWER.done\"; }; answer"


def main(shell, script, folder, lines):
    with tempfile.TemporaryDirectory() as scratch:
        terminal = Terminal(shell, script, folder, os.path.join(scratch, 'answer'))
        for line in SETUP[shell] + [ANSWER]:
            if line == ANSWER:
                terminal.enter(line)
            else:
                os.write(terminal.descriptor, line.encode() + b'\n')
        for line in lines:
            # Ctrl+T completes, Ctrl+A goes to the start of the line.
            print(json.dumps(terminal.enter(line, b'\x14\x01answer ')))


main(sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:])
