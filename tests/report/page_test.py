#!/usr/bin/env python3
"""Opens a report in a headless browser without a network, uses it as a reader does, and compares
what it shows with `readkit quality --json`.

    page_test.py PROGRAM [PICTURES]

A folder PICTURES gets a screenshot of each window that is tried. Without Chromium, or without the
page (a build without npm), the tests skip themselves.
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import browser
import reads

PROGRAM = pathlib.Path(sys.argv.pop(1))
PICTURES = pathlib.Path(sys.argv.pop(1)) if len(sys.argv) > 1 and sys.argv[1][0] != '-' else None
WINDOWS = [(1400, 900, False), (420, 800, True)]
EVIL = '<b id="evil">&amp; "x" \'y\'.fastq'

SKIPPED = 77  # what ctest takes for "skipped"
if not (PROGRAM.resolve().parent.parent / 'share/readkit/report.html').exists():
    print('skipped: readkit was built without the page of reports (npm)')
    sys.exit(SKIPPED)
if browser.program() is None:
    print('skipped: there is no chromium')
    sys.exit(SKIPPED)


def span(group):
    return str(group['from']) if group['from'] == group['to'] else f"{group['from']}-{group['to']}"


def tables_of(sample):
    """The tables of a sample by their sections: rows of texts and numbers."""
    positions = sample['positions']
    qualities = sorted({int(q) for p in positions for q in p['counts']})
    return {
        'position-quality': [[span(p), *(p[k] for k in (
            'reads', 'mean', 'p10', 'p25', 'p50', 'p75', 'p90'))] for p in positions],
        'heatmap': [[span(p), *(p['counts'].get(str(q), 0) for q in qualities)]
                    for p in positions],
        'read-quality': [[str(b['quality']), b['reads']] for b in sample['read_quality']],
        'composition': [[span(p), *p['bases'].values()] for p in positions],
        'gc': [[span(b), b['reads']] for b in sample['gc']],
        'length': [[span(b), b['reads']] for b in sample['length']['histogram']],
    }


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix='readkit-page-')
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.files = [
            reads.write(folder.name, 'lane 1.fastq.gz',
                        reads.fastq(reads.made_up(1, 300, range(20, 31), 40))),
            reads.write(folder.name, EVIL, reads.fastq(reads.made_up(2, 60, [30, 310], 30))),
            reads.write(folder.name, 'reads.bam', reads.bam(reads.made_up(5, 50, [25], 35,
                                                                          letters='ACGTN'))),
        ]
        cls.page = cls.folder / 'report.html'
        done = subprocess.run([PROGRAM, 'quality', '--json', '--report', cls.page, *cls.files],
                              capture_output=True, timeout=60, check=True)
        cls.samples = json.loads(done.stdout)['samples']
        cls.browser = browser.Browser(seconds=60).__enter__()
        cls.addClassCleanup(cls.browser.__exit__)

    def open(self, width, height, dark):
        self.browser.resize(width, height, dark)
        self.browser.open(self.page.as_uri())
        self.wait_until_drawn()

    def wait_until_drawn(self):
        self.browser.wait_for('document.documentElement.dataset.drawn === "yes"')

    def value(self, expression):
        return self.browser.evaluate(expression)

    def picture(self, name):
        if PICTURES:
            PICTURES.mkdir(parents=True, exist_ok=True)
            self.browser.screenshot(PICTURES / f'{name}.png')

    def tearDown(self):
        # Nothing went wrong, and nothing was asked of anybody but for the file itself.
        self.assertEqual(self.browser.complaints, [])
        self.assertEqual(set(self.browser.requests), {self.page.as_uri()})

    # ---- What it shows ---------------------------------------------------------------------------

    def test_in_two_windows(self):
        for width, height, dark in WINDOWS:
            with self.subTest(width=width):
                self.open(width, height, dark)
                self.picture(f'{width}-{"dark" if dark else "light"}')
                self.check_layout(width)
                self.check_tables()
                self.check_summary()
                self.check_tooltips()
                if dark:
                    self.check_choice()
                else:
                    self.check_print(width, height)

    def check_layout(self, width):
        self.assertEqual(self.value('document.documentElement.scrollWidth'), width)
        # A chart is as wide as its panel, which is nearly all of a narrow window.
        widths = self.value('''[...document.querySelectorAll('.chart')].map(panel =>
            [panel.clientWidth, panel.querySelector('svg').getBoundingClientRect().width])''')
        self.assertEqual(len(widths), 3 * 4 + 3)
        for panel, chart in widths:
            self.assertGreater(panel, 370)
            self.assertLess(chart, panel)
            self.assertGreater(chart, panel - 60)

    def check_tables(self):
        # A reader opens all of them, by clicks.
        places = self.value('document.querySelectorAll("section > details > summary").length')
        self.assertEqual(places, 6)
        for i in range(places):
            self.browser.click(f'document.querySelectorAll("section > details > summary")[{i}]')
        self.assertTrue(self.value('''[...document.querySelectorAll("section > details")]
            .every(details => details.open && details.clientHeight > 60)'''))
        shown = self.value('''Object.fromEntries([...document.querySelectorAll('section:has(.tables)')]
            .map(section => [section.id, [...section.querySelectorAll('table')].map(table => ({
              name: table.caption.innerText,
              rows: [...table.tBodies[0].rows].map(row =>
                [...row.cells].map((cell, i) => i ? Number(cell.innerText) : cell.innerText))
            }))]))''')
        for section, tables in shown.items():
            for sample, table in zip(self.samples, tables, strict=True):
                self.assertEqual(table['name'], sample['name'])
                self.assertEqual(table['rows'], tables_of(sample)[section], section)
        self.assertEqual(len(shown), 6)

    def check_summary(self):
        rows = self.value('''[...document.querySelectorAll('.summary tbody tr')].map(row =>
            [...row.cells].map(cell => cell.textContent))''')
        for row, sample in zip(rows, self.samples, strict=True):
            self.assertEqual(row[:2], [sample['name'], sample['status']])
            numbers = [float(re.sub('[,%]', '', text)) for text in
                       (row[2], row[3], row[5], row[6], row[7], row[8])]
            self.assertEqual(numbers, [sample[key] for key in (
                'reads', 'bases', 'mean_quality', 'q20_percent', 'q30_percent', 'gc_percent')])
        # The link in a row opens the sample's verdicts.
        self.browser.click('document.querySelector(".summary tbody a")')
        self.browser.wait_for('document.querySelector("details.verdicts").open')
        verdicts = self.value('''[...document.querySelectorAll('#verdicts-0 li')].map(item =>
            [item.querySelector('.status').textContent, item.querySelector('a').textContent,
             item.querySelector('strong').textContent])''')
        self.assertEqual([(s, t, float(v.rstrip('%'))) for s, t, v in verdicts],
                         [(v['status'], v['title'], v['value'])
                          for v in self.samples[0]['verdicts']])
        self.assertIsNone(self.value('document.querySelector("#evil")'))

    def check_tooltips(self):
        # The pointer over a box shows its numbers, the same in every chart of its kind.
        for index, sample in enumerate(self.samples):
            panel = f'document.querySelectorAll("[data-chart=boxes] .chart")[{index}]'
            self.assertEqual(self.value(f'{panel}.querySelector("h3").textContent'),
                             sample['name'])
            boxes = f'{panel}.querySelectorAll(".layer_5_marks path")'
            self.assertEqual(self.value(f'{boxes}.length'), len(sample['positions']))
            for at in (0, len(sample['positions']) // 2, len(sample['positions']) - 1):
                shown = self.tooltip_of(f'{boxes}[{at}]')
                group = sample['positions'][at]
                self.assertEqual(shown['position'], span(group))
                for key in ('reads', 'mean', 'p10', 'p25', 'p50', 'p75', 'p90'):
                    self.assertEqual(float(shown[key].replace(',', '')), group[key])
        # Cells of the heatmap: as many as there are counts.
        cells = self.value('''[...document.querySelectorAll('[data-chart=heatmap] .chart')].map(
            panel => panel.querySelectorAll('.layer_0_marks path').length)''')
        self.assertEqual(cells, [sum(len(p['counts']) for p in s['positions'])
                                 for s in self.samples])
        bars = 'document.querySelector("[data-chart=length] .chart")' \
               '.querySelectorAll(".mark-rect.role-mark path")'
        for at, group in enumerate(self.samples[0]['length']['histogram'][:2]):
            shown = self.tooltip_of(f'{bars}[{at}]')
            self.assertEqual([shown['length'], int(shown['reads'])], [span(group), group['reads']])

    def tooltip_of(self, element):
        self.browser.point_at(1, 1)
        self.browser.wait_for('!document.querySelector("#vg-tooltip-element.visible")')
        x, y = self.browser.middle_of(element)
        self.browser.point_at(x, y)
        self.browser.wait_for('document.querySelector("#vg-tooltip-element.visible")')
        return self.value('''Object.fromEntries([...document.querySelectorAll(
            '#vg-tooltip-element tr')].map(row => [...row.cells].map(cell => cell.textContent
              .replace(/:$/, ''))))''')

    def check_choice(self):
        names = '[...document.querySelectorAll("[data-chart=boxes] h3")].map(h => h.textContent)'
        tables = '''[...document.querySelectorAll('#gc table')].filter(table =>
            table.getClientRects().length).map(table => table.caption.innerText)'''
        all_names = [sample['name'] for sample in self.samples]
        self.assertEqual(self.value(names), all_names)
        self.browser.click('document.querySelectorAll("#samples input")[1]')
        self.wait_until_drawn()
        self.assertEqual(self.value(names), all_names[::2])
        self.assertEqual(self.value(tables), all_names[::2])
        self.browser.click('document.querySelector("#none")')
        self.wait_until_drawn()
        self.assertEqual(self.value(names), [])
        self.assertEqual(self.value('document.querySelectorAll(".chart").length'), 0)
        # By keyboard: back from the button to the last sample, and the space bar.
        self.value('document.querySelectorAll("#samples input")[2].focus()')
        self.browser.press(' ', 'Space', ' ')
        self.wait_until_drawn()
        self.assertEqual(self.value(names), all_names[2:])
        self.browser.press('Tab')
        self.assertEqual(self.value('document.activeElement.id'), 'all')
        self.browser.press('Enter', text='\r')
        self.wait_until_drawn()
        self.assertEqual(self.value(names), all_names)

    def check_print(self, width, height):
        # On paper it is light, whatever the screen is, and without what only a screen has.
        self.browser.resize(width, height, dark=True, media='print')
        self.assertEqual(self.value('getComputedStyle(document.body).backgroundColor'),
                         'rgb(255, 255, 255)')
        self.assertFalse(self.value('document.querySelector("nav").clientHeight'))
        self.assertFalse(self.value('document.querySelector("#samples").clientHeight'))
        # Charts shrink with the paper: no window is resized that would have them drawn anew.
        self.assertEqual(self.value('getComputedStyle(document.querySelector(".chart svg")).maxWidth'),
                         '100%')

    def test_without_scripts(self):
        self.browser.send('Emulation.setScriptExecutionDisabled', value=True)
        try:
            self.browser.resize(1000, 800)
            self.browser.send('Page.navigate', url=self.page.as_uri())
            # The page's own scripts are off; the test's still run.
            self.browser.wait_for('document.readyState === "complete"')
            self.assertEqual(self.value('document.querySelectorAll(".chart").length'), 0)
            self.assertGreater(self.value('document.querySelector("noscript p").clientHeight'), 10)
            self.assertFalse(self.value('document.querySelector("#samples").clientHeight'))
            self.check_tables()
        finally:
            self.browser.send('Emulation.setScriptExecutionDisabled', value=False)


if __name__ == '__main__':
    unittest.main()
