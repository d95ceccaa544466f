#!/usr/bin/env python3
"""Compares what `readkit quality` counts with plain counts of the same reads, and the form of the
document with its schema.

    document_test.py PROGRAM ROOT
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import quality_model
import reads

try:
    import jsonschema
except ImportError:
    jsonschema = None

PROGRAM, ROOT = (pathlib.Path(sys.argv.pop(1)).resolve() for _ in range(2))
VALIDATOR = jsonschema and jsonschema.Draft202012Validator(
    json.loads((ROOT / 'docs/schemas/quality.json').read_text()))
# The last read alone reaches the last positions, which are bad and not judged.
ILLUMINA = reads.made_up(1, 1050, range(30, 51), 40) + [('ACGT' * 15, '#' * 60)]
LONG = reads.made_up(2, 20, [5, 80, 900, 1234], 60)
OLD = reads.made_up(3, 50, [36], 40, offset=64)
UPPER = reads.made_up(4, 200, range(1, 90), 41, letters='ACGTN')


def without_words(sample):
    """A sample of the document as the model gives it."""
    words = ('name', 'file', 'kind', 'encoding')
    kept = {key: value for key, value in sample.items() if key not in words}
    kept['verdicts'] = [{key: verdict[key] for key in ('name', 'status', 'value', 'thresholds')}
                        for verdict in sample['verdicts']]
    return kept


class Document(unittest.TestCase):
    maxDiff = 2000

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='readkit-quality-')
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_program(self, *arguments, status=0, stdin=None, program=PROGRAM):
        done = subprocess.run([program, 'quality', *map(str, arguments)], cwd=self.folder,
                              input=stdin, capture_output=True, timeout=60, check=False)
        self.assertEqual(done.returncode, status, done.stderr.decode())
        return done.stdout, done.stderr.decode()

    def document(self, *arguments, stdin=None):
        text, self.messages = self.run_program('--json', *arguments, stdin=stdin)
        return json.loads(text)

    def check(self, arguments, *expected):
        """The samples of the document are these of the model."""
        document = self.document(*arguments)
        self.assertEqual(len(document['samples']), len(expected))
        for sample, model in zip(document['samples'], expected):
            self.assertEqual(without_words(sample), model)
        self.check_schema(document)
        return document['samples']

    def check_schema(self, document):
        if VALIDATOR:
            VALIDATOR.validate(document)

    @unittest.skipIf(jsonschema is None, 'python3-jsonschema is not there')
    def test_schema(self):
        file = reads.write(self.folder, 'a.fastq', reads.fastq(ILLUMINA[:9]))
        document = self.document(file)
        jsonschema.Draft202012Validator.check_schema(VALIDATOR.schema)
        VALIDATOR.validate(document)
        sample = document['samples'][0]
        for broken in ({'version': 2}, {'more': 1}, {'samples': []},
                       {'samples': [{**sample, 'reads': -1}]},
                       {'samples': [{**sample, 'verdicts': [{}]}]}):
            with self.assertRaises(jsonschema.ValidationError):
                VALIDATOR.validate({**document, **broken})

    def test_compressed_fastq(self):
        file = reads.write(self.folder, 'reads.fastq.gz', reads.fastq(ILLUMINA))
        sample, = self.check([file], quality_model.sample(ILLUMINA))
        self.assertEqual(sample['kind'], 'fastq')
        self.assertEqual(sample['name'], 'reads.fastq.gz')
        # This many reads have a shape.
        self.assertIn('gc_shape', [verdict['name'] for verdict in sample['verdicts']])

    def test_long_reads_in_groups_and_alone(self):
        file = reads.write(self.folder, 'long.fastq', reads.fastq(LONG))
        sample, = self.check([file], quality_model.sample(LONG))
        self.assertEqual(len(sample['positions']), 124)
        alone = self.document('--no-groups', file)['samples'][0]
        self.assertEqual(without_words(alone), quality_model.sample(LONG, alone=True))

    def test_reads_that_are_left_out(self):
        file = reads.write(self.folder, 'reads.fastq', reads.fastq(ILLUMINA[:300]))
        some = ILLUMINA[:300]
        self.check(['--min-length', 45, file], quality_model.sample(some, min_length=45))
        self.check(['--min-average', 28, file], quality_model.sample(some, min_average=28))
        self.check(['--span', '11-40', file], quality_model.sample(some, first=11, last=40))
        self.check(['--span', '41-', file], quality_model.sample(some, first=41))
        self.check(['--first', 7, file], quality_model.sample(some, count=7))
        self.check(['--min-length', 1000, file], quality_model.sample(some, min_length=1000))

    def test_bam_and_sam(self):
        bam = reads.write(self.folder, 'reads.bam', reads.bam(UPPER))
        sam = reads.write(self.folder, 'reads.sam', reads.sam(UPPER))
        model = quality_model.sample(UPPER)
        samples = self.check([bam, sam, '--encoding', 64], model, model)
        self.assertEqual([s['encoding']['name'] for s in samples], ['phred+33'] * 2)
        self.assertEqual([s['kind'] for s in samples], ['bam', 'sam'])
        self.check(['--mapped-only', bam], quality_model.sample(UPPER[::3]))

    def test_encodings(self):
        old = reads.write(self.folder, 'old.fastq', reads.fastq(OLD))
        model = quality_model.sample(OLD, offset=64)
        sample, = self.check(['--encoding', 64, old], model)
        self.assertEqual(sample['encoding']['detected'], False)
        sample, = self.check(['--encoding', 'auto', old], model)
        self.assertEqual((sample['encoding']['name'], sample['encoding']['detected'],
                          sample['encoding']['certain']), ('phred+64', True, True))
        for choice in ('auto', '64'):
            self.check(['--encoding', choice, '--min-average', 26, old],
                       quality_model.sample(OLD, offset=64, min_average=26))
        # Taken for the usual encoding, these qualities are too good to be true.
        self.check([old], quality_model.sample(OLD))
        self.assertIn('seems to be phred+64', self.messages)
        self.assertIn('--encoding 64', self.messages)

    def test_encoding_that_the_characters_leave_open(self):
        for characters, name, certain in (
                ('!J', 'phred+33', True), (':~', 'phred+33', True), (';K', 'phred+33', False),
                ('@K', 'phred+33', False), (';L', 'phred+64', True), ('@i', 'phred+64', True),
                ('@j', 'phred+33', False), ('~~', 'phred+33', False)):
            file = reads.write(self.folder, 'two.fastq', reads.fastq([('AC', characters)]))
            encoding = self.document('-e', 'auto', file)['samples'][0]['encoding']
            self.assertEqual((encoding['name'], encoding['certain']), (name, certain), characters)
            self.assertEqual('ambiguous' in encoding['text'], not certain)
            self.assertEqual('ambiguous' in self.messages, not certain)

    def test_encoding_that_cannot_be(self):
        file = reads.write(self.folder, 'new.fastq', reads.fastq([('ACG', 'I:I')]))
        _, message = self.run_program('--encoding', 64, file, status=1)
        self.assertRegex(message, r'new\.fastq: the quality character : does not occur')
        # The qualities of the oldest instruments go below 0.
        file = reads.write(self.folder, 'oldest.fastq', reads.fastq([('ACG', ';@h')]))
        sample = self.document('--encoding', 64, file)['samples'][0]
        self.assertEqual([list(p['counts']) for p in sample['positions']], [['-5'], ['0'], ['40']])

    def test_best_qualities(self):
        # An average of the best quality of all is not cut to the one below it.
        file = reads.write(self.folder, 'best.fastq', reads.fastq([('ACGT', '~~~~')]))
        self.check([file], quality_model.sample([('ACGT', '~~~~')]))
        file = reads.write(self.folder, 'del.fastq', b'@r\nAC\n+\nI\x7f\n')
        _, message = self.run_program(file, status=1)
        self.assertIn('(seqlab:scanqualities:InvalidData)', message)

    def test_reads_of_one_gc_content(self):
        # All of them in one bin: no normal curve is narrower than the bin.
        same = [('ACGT' * 5, 'I' * 20)] * 1000
        file = reads.write(self.folder, 'same.fastq', reads.fastq(same))
        self.check([file], quality_model.sample(same))

    def test_names_and_standard_input(self):
        (self.folder / 'b').mkdir()
        text = reads.fastq(ILLUMINA[:5])
        files = [reads.write(folder, 'same.fq', text) for folder in (self.folder, self.folder / 'b')]
        document = self.document(*files, '-', stdin=text)
        self.assertEqual([sample['name'] for sample in document['samples']],
                         ['same.fq', 'same.fq (2)', 'standard input'])
        counted = [without_words(sample) for sample in document['samples']]
        self.assertEqual(counted, [quality_model.sample(ILLUMINA[:5])] * 3)

    def test_settings(self):
        file = reads.write(self.folder, 'a.fastq', reads.fastq(ILLUMINA[:5]))
        self.assertEqual(self.document(file)['settings'], {
            'encoding': '33', 'from': 1, 'to': None, 'min_length': 1, 'min_average': None,
            'first': None, 'mapped_only': False, 'position_groups': True})
        self.assertEqual(
            self.document('-e', 'auto', '--span', '3-20', '--min-length', 4, '--min-average', 5,
                          '--first', 3, '--no-groups', file)['settings'],
            {'encoding': 'auto', 'from': 3, 'to': 20, 'min_length': 4, 'min_average': 5,
             'first': 3, 'mapped_only': False, 'position_groups': False})

    # ---- fastqc_data.txt -------------------------------------------------------------------------

    def modules(self, path):
        """{module: (status, [column titles], [rows])} of a file of FastQC's format."""
        first, *lines = path.read_text().splitlines()
        self.assertRegex(first, r'^##FastQC\t')
        modules = {}
        name = None
        for line in lines:
            if line == '>>END_MODULE':
                self.assertIsNotNone(name)
                name = None
            elif line.startswith('>>'):
                self.assertIsNone(name)
                name, status = line[2:].split('\t')
                modules[name] = (status, [], [])
            elif line.startswith('#'):
                modules[name][1].extend(line[1:].split('\t'))
            else:
                modules[name][2].append(line.split('\t'))
                self.assertEqual(len(modules[name][1]), len(modules[name][2][-1]))
        self.assertIsNone(name)
        return modules

    def test_fastqc_data(self):
        files = [reads.write(self.folder, 'a.fastq', reads.fastq(ILLUMINA)),
                 reads.write(self.folder, 'long.fastq', reads.fastq(LONG))]
        document = self.document('--fastqc-data', 'out/qc', *files)
        for file, sample in zip(files, document['samples']):
            modules = self.modules(self.folder / 'out/qc' / f'{file.name}_fastqc/fastqc_data.txt')
            statuses = {verdict['name']: verdict['status'] for verdict in sample['verdicts']}
            basic = dict(modules['Basic Statistics'][2])
            self.assertEqual(basic['Filename'], file.name)
            self.assertEqual(basic['Total Sequences'], str(sample['reads']))
            self.assertEqual(basic['Sequence length'],
                             f"{sample['length']['min']}-{sample['length']['max']}")
            self.assertEqual(float(basic['%GC']), sample['gc_percent'])
            self.assertEqual(basic['Encoding'], 'Sanger / Illumina 1.9')

            def span(p):
                return str(p['from']) if p['from'] == p['to'] else f"{p['from']}-{p['to']}"

            def rows(module):
                return [[row[0], *map(float, row[1:])] for row in modules[module][2]]
            self.assertEqual(
                rows('Per base sequence quality'),
                [[span(p), *(p[k] for k in ('mean', 'p50', 'p25', 'p75', 'p10', 'p90'))]
                 for p in sample['positions']])
            self.assertEqual(rows('Per sequence quality scores'),
                             [[str(b['quality']), b['reads']] for b in sample['read_quality']])
            self.assertEqual(rows('Per sequence GC content'),
                             [[f"{b['from'] + 2.5}", b['reads']] for b in sample['gc']])
            self.assertEqual(rows('Sequence Length Distribution'),
                             [[span(b), b['reads']] for b in sample['length']['histogram']])
            for p, row in zip(sample['positions'], rows('Per base sequence content')):
                known = sum(p['bases'][base] for base in 'GATC')
                self.assertEqual(row[0], span(p))
                for base, percent in zip('GATC', row[1:]):
                    self.assertAlmostEqual(percent, 100 * p['bases'][base] / known, places=9)
            for p, (_, percent) in zip(sample['positions'], rows('Per base N content')):
                self.assertAlmostEqual(
                    percent, 100 * p['bases']['other'] / sum(p['bases'].values()), places=9)
            self.assertEqual(modules['Per sequence quality scores'][0], statuses['read_quality'])
            self.assertEqual(modules['Per base N content'][0], statuses['other_letters'])
            self.assertEqual(modules['Per base sequence content'][0], statuses['base_balance'])
        _, message = self.run_program('--fastqc-data', 'out/qc', files[0], status=1)
        self.assertIn('exists already', message)
        self.run_program('--fastqc-data', 'out/qc', '--force', files[0])

    @unittest.skipIf(shutil.which('multiqc') is None, 'multiqc is not there')
    def test_fastqc_data_is_read_by_multiqc(self):
        file = reads.write(self.folder, 'lane 1.fastq', reads.fastq(ILLUMINA))
        sample = self.document('--fastqc-data', 'qc', file)['samples'][0]
        subprocess.run(['multiqc', '--quiet', '-o', 'out', 'qc'], cwd=self.folder, check=True,
                       capture_output=True, timeout=120)
        titles, values = (line.split('\t') for line in (
            self.folder / 'out/multiqc_data/multiqc_fastqc.txt').read_text().splitlines())
        found = dict(zip(titles, values))
        self.assertEqual(found['Sample'], 'lane 1')
        self.assertEqual(float(found['Total Sequences']), sample['reads'])
        self.assertEqual(float(found['%GC']), sample['gc_percent'])
        self.assertEqual(found['per_base_n_content'], next(
            v['status'] for v in sample['verdicts'] if v['name'] == 'other_letters'))

    # ---- Outputs ---------------------------------------------------------------------------------

    def test_text_says_what_the_document_says(self):
        file = reads.write(self.folder, 'a.fastq', reads.fastq(ILLUMINA))
        sample = self.document(file)['samples'][0]
        text = self.run_program(file)[0].decode()
        lines = dict(line.split('\t') for line in text.splitlines() if not line.startswith(' '))
        self.assertEqual(lines['reads'], '1051')
        self.assertEqual(float(lines['mean quality']), sample['mean_quality'])
        self.assertEqual(lines['verdict'], sample['status'])
        found = re.findall(r'^  (\w+)\t(.*?): (\S+?)%? ', text, re.MULTILINE)
        self.assertEqual([(s, t, float(v)) for s, t, v in found],
                         [(v['status'], v['title'], v['value']) for v in sample['verdicts']])

    def test_outputs_that_are_refused(self):
        file = reads.write(self.folder, 'a.fastq', reads.fastq(ILLUMINA[:5]))
        before = file.read_bytes()
        for arguments, status, message in (
                ([], 2, 'FILE'),
                (['--span', '0-3', file], 2, '--span'),
                (['--span', '3', file], 2, '--span'),
                (['--span', '9-3', file], 2, '--span'),
                (['--first', 3, '--mapped-only', file], 2, '--mapped-only'),
                (['--encoding', '59', file], 2, '59'),
                (['missing.fastq'], 1, 'missing.fastq'),
        ):
            out, text = self.run_program(*arguments, status=status)
            self.assertEqual(out, b'')
            self.assertIn(message, text)
        self.assertEqual(file.read_bytes(), before)
        self.assertEqual([p.name for p in self.folder.iterdir()], ['a.fastq'])

    def test_program_without_its_page(self):
        # As a build without npm leaves it: the program and its libraries, and no share/readkit.
        elsewhere = self.folder / 'elsewhere'
        (elsewhere / 'bin').mkdir(parents=True)
        shutil.copy(PROGRAM, elsewhere / 'bin/readkit')
        (elsewhere / 'lib').symlink_to(PROGRAM.parent.parent / 'lib')
        file = reads.write(self.folder, 'a.fastq', reads.fastq(ILLUMINA[:5]))
        program = elsewhere / 'bin/readkit'
        out, message = self.run_program('--report', 'page.html', file, status=1, program=program)
        self.assertEqual(out, b'')
        self.assertRegex(message, r'share/readkit/report.html: the page is missing.*\n  build readkit '
                                  r'where npm is there')
        self.assertFalse((self.folder / 'page.html').exists())
        self.assertEqual(self.run_program('--json', file, program=program),
                         self.run_program('--json', file))


class LockFile(unittest.TestCase):
    def test_names_no_host(self):
        lock = json.loads((ROOT / 'report/package-lock.json').read_text())
        packages = {name: entry for name, entry in lock['packages'].items() if name}
        self.assertNotIn('://', json.dumps(lock))
        self.assertFalse([name for name, entry in packages.items() if 'resolved' in entry])
        self.assertFalse([name for name, entry in packages.items()
                          if not re.match('sha512-', entry.get('integrity', ''))])
        wanted = json.loads((ROOT / 'report/package.json').read_text())
        for name, version in {**wanted['dependencies'], **wanted['devDependencies']}.items():
            self.assertRegex(version, r'^\d+\.\d+\.\d+$')
            self.assertEqual(packages[f'node_modules/{name}']['version'], version)


if __name__ == '__main__':
    unittest.main()
