"""Runs the code that a document shows.

run_document.py DOCUMENT: runs every python, octave and console block in the order in which they stand, in the working
folder, and compares what they print with the text block that follows, or of a console block with the lines below its
commands. Prints what differs; exit status 1 when anything does.

run_document.py DOCUMENT LANGUAGE: prints the blocks of that language one after another.

Blocks of one language see what earlier ones have defined. ORN_OCTAVE names Octave.
"""
import contextlib
import io
import os
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r'^```(\w*)\n(.*?)^```$', re.MULTILINE | re.DOTALL)
MARK = 'What is printed from here on belongs to this block.'


def run_python(code, earlier, names):
    output = io.StringIO()
    with contextlib.redirect_stdout(output):
        exec(compile(code, 'the python block', 'exec'), names)
    return output.getvalue()


def run_octave(code, earlier, names):
    with tempfile.NamedTemporaryFile('w', suffix='.m') as script:
        script.write('\n'.join(earlier + [f'disp("{MARK}")', code]))
        script.flush()
        output = run([os.environ['ORN_OCTAVE'], '--no-gui', '--norc', '--no-history', '--quiet', script.name])
    return output.partition(MARK + '\n')[2]


def run_console(code, earlier, names):
    commands = [line[2:] for line in code.splitlines() if line.startswith('$ ')]
    return ''.join(f'$ {command}\n' + run(['/bin/sh', '-c', command]) for command in commands)


def run(command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding='utf-8', check=False)
    return result.stdout + (f'exit code {result.returncode}\n' if result.returncode else '')


RUNNERS = {'python': run_python, 'octave': run_octave, 'console': run_console}


def squeezed(text):
    """Without blanks at the ends of lines and blank lines, which documents do not show."""
    return [line.rstrip() for line in text.splitlines() if line.strip()]


def check(blocks):
    names = {'__name__': 'document'}
    earlier = {language: [] for language in RUNNERS}
    wrong = 0
    for i, (language, code) in enumerate(blocks):
        if language not in RUNNERS:
            continue
        follows = blocks[i + 1] if i + 1 < len(blocks) else ('', '')
        expected = code if language == 'console' else follows[1] if follows[0] == 'text' else ''
        found = RUNNERS[language](code, earlier[language], names)
        earlier[language].append(code)
        if squeezed(found) != squeezed(expected):
            wrong += 1
            print(f'--- a block of {language} prints\n{found}\n--- and the document says\n{expected}')
    print(sum(map(len, earlier.values())), 'blocks were run')
    return 1 if wrong else 0


def main(document, language=None):
    with open(document, encoding='utf-8') as file:
        blocks = BLOCK.findall(file.read())
    if language:
        print('\n'.join(code for name, code in blocks if name == language))
        return 0
    return check(blocks)


sys.exit(main(*sys.argv[1:]))
