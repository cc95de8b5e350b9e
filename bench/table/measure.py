"""Runs the programs of the table and sums up what they print."""
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import time

import rows

ROUNDS = {'RepairTable': 9, 'ProgramsTable': 9}
PACKAGES = (('Qt', 'libqt5core5a'), ('matio', 'libmatio11'), ('libtiff', 'libtiff6'),
            ('OpenCV', 'libopencv-core406'), ('SciPy', 'python3-scipy'), ('Octave', 'octave'))


def text_of(path):
    try:
        return pathlib.Path(path).read_text(encoding='utf-8').strip()
    except OSError:
        return '?'


def output_of(*command):
    try:
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding='utf-8',
                              check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return '?'


def chosen(path):
    """The word in brackets, by which the kernel marks a choice."""
    return (re.findall(r'\[(.*?)\]', text_of(path)) or ['?'])[0]


def caches():
    """Each cache of the first processor, with its size."""
    folders = sorted(pathlib.Path('/sys/devices/system/cpu/cpu0/cache').glob('index*'))
    kinds = {'Data': 'd', 'Instruction': 'i', 'Unified': ''}
    return ', '.join(f'L{text_of(folder / "level")}{kinds.get(text_of(folder / "type"), "")} {text_of(folder / "size")}'
                     for folder in folders)


def machine():
    processor = re.search(r'^model name\s*:\s*(.*)$', text_of('/proc/cpuinfo'), re.MULTILINE)
    memory = re.search(r'MemTotal:\s*(\d+) kB', text_of('/proc/meminfo'))
    pages = '/sys/kernel/mm/transparent_hugepage'
    system = re.search(r'PRETTY_NAME="(.*)"', text_of('/etc/os-release'))
    return {
        'processor': processor.group(1) if processor else platform.machine(),
        'cores': str(os.cpu_count()),
        'caches': caches(),
        'memory': f'{int(memory.group(1)) / 2 ** 20:.1f} GiB' if memory else '?',
        'system': f'{system.group(1) if system else "?"}, Linux {platform.release()}',
        'huge pages': f'{chosen(pages + "/enabled")} (defrag {chosen(pages + "/defrag")}), '
                      f'in memory files: {chosen(pages + "/shmem_enabled")}',
        'compiler': output_of('c++', '--version').split('\n')[0] + ', -O3, baseline x86-64',
        'libraries and peers': ', '.join(f'{name} {output_of("dpkg-query", "-W", "-f", "${Version}", package)}'
                                         for name, package in PACKAGES),
        'load before': f'{os.getloadavg()[0]:.1f}',
        'measured': time.strftime('%Y-%m-%d %H:%M UTC', time.gmtime()),
    }


class Programs:
    """The built programs, which measure fewer rounds when it shall be quick."""

    def __init__(self, folder, is_quick):
        self.folder = pathlib.Path(folder)
        self.is_quick = is_quick

    def run(self, program, names, *options, rounds=15):
        """Yields the name and the figures of each row that the program measures."""
        command = [self.folder / program, '--rounds', str(3 if self.is_quick else rounds), *options, *names]
        with subprocess.Popen(command, stdout=subprocess.PIPE, encoding='utf-8') as process:
            for line in process.stdout:
                answer = json.loads(line)
                print(f'  {answer["row"]} {" ".join(options)}', file=sys.stderr, flush=True)
                yield answer['row'], answer['figures']
        if process.returncode:
            raise SystemExit(f'{program} failed')


def summary(row, figures):
    """Quartiles of what each turn showed, and what both took."""
    turns = list(zip(figures[row.ours], figures[row.peer]))
    values = statistics.quantiles([row.target.value(*turn) for turn in turns], n=4, method='inclusive')
    fastest = row.target.value(min(figures[row.ours]), min(figures[row.peer]))
    return {'value': [float(f'{value:.4g}') for value in values], 'fastest': float(f'{fastest:.4g}'),
            'turns': len(turns),
            'ours': statistics.median(figures[row.ours]), 'peer': statistics.median(figures[row.peer])}


def by_program(entries):
    groups = {}
    for entry in entries:
        groups.setdefault(entry.program, []).append(entry)
    return groups.items()


def measure_rows(programs, wanted):
    results = {}
    for program, entries in by_program(wanted):
        names = sorted({entry.row for entry in entries})
        for name, figures in programs.run(program, names, rounds=ROUNDS.get(program, 15)):
            results.update({entry.key: summary(entry, figures) for entry in entries if entry.row == name})
    return results


def measure_growth_of_images(programs):
    """Nanoseconds per sample, by operation and size."""
    results = {}
    for megapixels in rows.MEGAPIXELS[::2] if programs.is_quick else rows.MEGAPIXELS:
        for program, entries in by_program(rows.GROWTH):
            measured = programs.run(program, [entry.row for entry in entries], '--alone', '--megapixels',
                                    str(megapixels), rounds=15 if megapixels <= 10 else 7)
            for name, figures in measured:
                seconds = statistics.median(figures['ours'])
                results.setdefault(name, {})[str(megapixels)] = float(f'{seconds * 1e3 / megapixels:.3g}')
    return results


def measure_growth_of_files(programs):
    """Microseconds by number of variables, for each thing that is done with so many."""
    results = {}
    names = [f'{kind}-{count}' for kind in ('variables', 'planes') for count in rows.VARIABLES]
    for name, figures in programs.run('VariablesTable', names):
        kind, count = name.split('-')
        counted = results.setdefault(count, {})
        counted[kind] = float(f'{statistics.median(figures["ours"]) * 1e6:.3g}')
        counted[f'{kind} headers'] = float(f'{statistics.median(figures["headers"]) * 1e6:.3g}')
    return results
