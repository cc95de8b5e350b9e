"""Shows what was measured, in Markdown; and keeps the tables of a page the same as that."""
import pathlib
import re

import rows


def table(heads, lines):
    """Columns as wide as they need to be."""
    widths = [max(len(line[i]) for line in [heads, *lines]) for i in range(len(heads))]
    shown = [heads, ['-' * width for width in widths], *lines]
    return '\n'.join('| ' + ' | '.join(cell.ljust(width) for cell, width in zip(line, widths)) + ' |'
                     for line in shown)


def amount(figure, unit):
    factor = {'ms': 1e3, 'MB': 1e-6, '': 1}[unit]
    return f'{float(f"{figure * factor:.3g}"):,g} {unit}'.rstrip()


def machine(results):
    return table(['', ''], [[name, value] for name, value in results['machine'].items()])


def measured(results):
    lines = []
    for row in rows.ROWS:
        result = results['rows'].get(row.key)
        if not result:
            continue
        low, middle, high = result['value']
        target = row.target
        met = '' if target.asked() == '–' else 'yes' if target.is_met(middle) else 'no'
        low, high, fastest = (target.shown(value).split()[0] for value in (low, high, result['fastest']))
        lines.append([row.operation, row.against, target.asked(), target.shown(middle), f'{low} … {high}', fastest,
                      str(result['turns']), met, amount(result['ours'], row.unit), amount(result['peer'], row.unit)])
    return table(['operation', 'set against', 'asked', 'measured', 'quartiles', 'fastest', 'turns', 'met', 'ours',
                  'the other'], lines)


def growth_of_images(results):
    growth = results.get('images', {})
    sizes = sorted({int(size) for line in growth.values() for size in line})
    lines = [[entry.operation] + [f'{growth[entry.row][str(size)]:.3g}' for size in sizes]
             for entry in rows.GROWTH if entry.row in growth]
    return table(['ns per sample'] + [f'{size} MP' for size in sizes], lines)


def growth_of_files(results):
    growth = results.get('files', {})
    kinds = (('variables headers', 'one pass over the headers'), ('variables', 'opening, an image of one plane'),
             ('planes', 'reading, an image of so many planes'))
    counts = sorted(growth, key=int)
    lines = [[name] + [f'{growth[count][kind]:,g}' for count in counts] for kind, name in kinds]
    lines += [[f'{name}, per variable'] + [f'{growth[count][kind] / int(count):.3g}' for count in counts]
              for kind, name in kinds[1:]]
    return table(['µs, by variables in the file'] + [f'{int(count):,}' for count in counts], lines)


BLOCKS = {'machine': machine, 'measured': measured, 'growth of images': growth_of_images,
          'growth of files': growth_of_files}


def whole(results):
    """All that was measured, as text."""
    return '\n\n'.join(block(results) for block in BLOCKS.values())


def filled(page, results):
    """The text of the page with the measured tables between its marks."""
    for name, block in BLOCKS.items():
        mark = re.compile(rf'(<!-- {name} -->\n).*?(<!-- end -->)', re.DOTALL)
        if not mark.search(page):
            raise SystemExit(f'the page has no place for "{name}"')
        page = mark.sub(lambda match, text=block(results): f'{match.group(1)}\n{text}\n\n{match.group(2)}', page)
    return page


def write(path, results):
    page = pathlib.Path(path)
    page.write_text(filled(page.read_text(encoding='utf-8'), results), encoding='utf-8')


def is_true(path, results):
    """Does the page show these results?"""
    page = pathlib.Path(path).read_text(encoding='utf-8')
    return page == filled(page, results)
