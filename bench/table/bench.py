"""Measures the table of performance, prints it, and writes it into the page that shows it. See scripts/bench."""
import argparse
import json
import pathlib

import measure
import page
import rows

GROWTHS = {'growth-images': ('images', measure.measure_growth_of_images),
           'growth-files': ('files', measure.measure_growth_of_files)}


def arguments():
    parser = argparse.ArgumentParser(prog='scripts/bench', description=__doc__)
    parser.add_argument('--list', action='store_true', help='print the names of the rows')
    parser.add_argument('--quick', action='store_true', help='3 turns instead of 9 to 15')
    parser.add_argument('--rows', nargs='+', metavar='NAME',
                        help='measure the rows whose names begin so; the others are kept as they were')
    parser.add_argument('--json', default='build/bench.json', metavar='FILE', help='where the results are kept')
    parser.add_argument('--from', action='store_true', dest='is_kept', help='measure nothing, show what is kept')
    parser.add_argument('--write', metavar='PAGE', help='put the tables into this page, and the results beside it')
    parser.add_argument('--check', metavar='PAGE', help='only say whether this page shows the results beside it')
    parser.add_argument('--programs', default='build/bench-build/table', help=argparse.SUPPRESS)
    return parser.parse_args()


def is_wanted(name, prefixes):
    return not prefixes or any(name.startswith(prefix) for prefix in prefixes)


def read(path):
    path = pathlib.Path(path)
    return json.loads(path.read_text(encoding='utf-8')) if path.exists() else {}


def keep(path, results):
    pathlib.Path(path).write_text(json.dumps(results, indent=1, ensure_ascii=False) + '\n', encoding='utf-8')


def measured(options):
    results = read(options.json) if options.rows else {}
    results['machine'] = measure.machine()
    programs = measure.Programs(options.programs, options.quick)
    wanted = [row for row in rows.ROWS if is_wanted(row.row, options.rows)]
    results.setdefault('rows', {}).update(measure.measure_rows(programs, wanted))
    for name, (key, work) in GROWTHS.items():
        if is_wanted(name, options.rows):
            results[key] = work(programs)
    keep(options.json, results)
    return results


def beside(path):
    """The results that a page shows."""
    return pathlib.Path(path).with_suffix('.json')


def main():
    options = arguments()
    if options.list:
        print('\n'.join(sorted({row.row for row in rows.ROWS} | set(GROWTHS))))
        return
    if options.check:
        if not page.is_true(options.check, read(beside(options.check))):
            raise SystemExit(f'{options.check} does not show what was measured: scripts/bench --write makes it')
        return
    results = read(options.json) if options.is_kept else measured(options)
    print(page.whole(results))
    if options.write:
        keep(beside(options.write), results)
        page.write(options.write, results)


main()
