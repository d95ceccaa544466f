"""Broken FASTQ files. Readers take four lines for a read and look at bases and qualities alone."""
from .cases import BAD_DATA, NONE, Kind

# scanQualities takes qualities from 0 to 93, at an offset of 33. Counts are of reads.
SOUND = {'scanQualities': 'ok 3', 'kxCheck': NONE}

READS = [b'@a\nACGT\n+\nIIII\n', b'@b\nCCG\n+\nI5!\n', b'@c\nN\n+\n~\n']
A, B, C = READS


def read(kind, name, broken, second, scan, found):
    """Another second read."""
    kind.add(name, broken, A + second + C, scanQualities=scan, kxCheck=found)


def add_qualities(kind):
    read(kind, 'quality_missing', 'a quality is missing', b'@b\nCCG\n+\nI5\n', BAD_DATA,
         'QualityLength')
    read(kind, 'quality_too_many', 'there is a quality more than bases', b'@b\nCCG\n+\nI5!!\n',
         BAD_DATA, 'QualityLength')
    read(kind, 'qualities_empty', 'the line of qualities is empty', b'@b\nCCG\n+\n\n', BAD_DATA,
         'QualityLength')
    # A read without bases is passed over, whatever its qualities are, unless they differ in length.
    read(kind, 'bases_empty', 'the line of bases is empty', b'@b\n\n+\nI5!\n', 'ok 2',
         'QualityLength')
    read(kind, 'base_missing', 'a base is missing', b'@b\nCC\n+\nI5!\n', BAD_DATA, 'QualityLength')
    read(kind, 'quality_blank', 'a quality is a blank', b'@b\nCCG\n+\nI 5\n', BAD_DATA, 'Quality')
    read(kind, 'quality_tab', 'a quality is a TAB', b'@b\nCCG\n+\nI\t5\n', BAD_DATA, 'Quality')
    read(kind, 'quality_127', 'a quality is the character 127', b'@b\nCCG\n+\nI\x7f5\n', BAD_DATA,
         'Quality')
    read(kind, 'quality_128', 'a quality is the byte 128', b'@b\nCCG\n+\nI\x805\n', BAD_DATA,
         'Quality')
    read(kind, 'quality_255', 'a quality is the byte 255', b'@b\nCCG\n+\nI\xff5\n', BAD_DATA,
         'Quality')
    # A NUL ends the text of a line.
    read(kind, 'quality_nul', 'a quality is a NUL', b'@b\nCCG\n+\nI\x005\n', BAD_DATA, 'Quality')
    read(kind, 'base_nul', 'a base is a NUL', b'@b\nC\x00G\n+\nI5!\n', BAD_DATA, 'Sequence')


def add_bases(kind):
    """Bases may be anything: they count as other letters."""
    for name, broken, base in (('digit', 'a digit', b'1'), ('blank', 'a blank', b' '),
                               ('tab', 'a TAB', b'\t'),
                               ('beyond_ascii', 'a byte beyond ASCII', b'\xe9')):
        read(kind, f'base_{name}', f'a base is {broken}', b'@b\nC' + base + b'G\n+\nI5!\n', 'ok 3',
             'Sequence')
    read(kind, 'bases_colour', 'the bases are colours', b'@b\nT01\n+\nI5!\n', 'ok 3', 'Sequence')


def add_names(kind):
    """Nor are header and separator looked at."""
    read(kind, 'name_empty', 'the read has no name', b'@\nCCG\n+\nI5!\n', 'ok 3', 'ReadName')
    read(kind, 'header_without_at', 'the header begins with no @', b'b\nCCG\n+\nI5!\n', 'ok 3',
         'ReadStructure')
    read(kind, 'header_of_fasta', 'the header begins with >', b'>b\nCCG\n+\nI5!\n', 'ok 3',
         'ReadStructure')
    read(kind, 'separator_without_plus', 'the separator begins with no +', b'@b\nCCG\n-\nI5!\n',
         'ok 3', 'ReadStructure')
    read(kind, 'separator_empty', 'the separator is empty', b'@b\nCCG\n\nI5!\n', 'ok 3',
         'ReadStructure')
    read(kind, 'separator_of_another_name', 'the separator has another name', b'@b\nCCG\n+c\nI5!\n',
         'ok 3', 'ReadName')
    # A header that is empty is the end.
    read(kind, 'header_empty', 'the line of the header is empty', b'\nCCG\n+\nI5!\n', 'ok 1',
         'ReadStructure')
    kind.add('empty_line_between_reads', 'an empty line stands between reads', A + b'\n' + B + C,
             scanQualities='ok 1', kxCheck='ReadStructure')
    kind.add('empty_line_first', 'the first line is empty', b'\n' + A + B + C, scanQualities='ok 0',
             kxCheck='UnknownKind')


def add_lines(kind):
    """One line more or less, and all behind it are taken for others: bases for qualities."""
    read(kind, 'bases_of_two_lines', 'the bases stand in two lines', b'@b\nCCGC\nC\n+\nI5!II\n',
         BAD_DATA, 'ReadStructure')
    read(kind, 'line_missing', 'the separator is missing', b'@b\nCCG\nI5!\n', BAD_DATA,
         'ReadStructure')
    read(kind, 'bases_missing', 'the line of bases is missing', b'@b\n+\nI5!\n', BAD_DATA,
         'ReadStructure')
    read(kind, 'line_too_many', 'a line of text stands between reads', b'text\n' + B, BAD_DATA,
         'ReadStructure')


def add_ends(kind):
    for name, last, scan, found in (
            ('behind_the_header', b'@c\n', 'ok 2', 'RecordTruncated'),
            ('in_the_header', b'@', 'ok 2', 'RecordTruncated LastLine'),
            ('in_the_bases', b'@c\nACG', BAD_DATA, 'RecordTruncated LastLine'),
            ('behind_the_bases', b'@c\nACGT\n', BAD_DATA, 'RecordTruncated'),
            ('behind_the_separator', b'@c\nACGT\n+\n', BAD_DATA, 'RecordTruncated'),
            ('in_the_separator', b'@c\nACGT\n+', BAD_DATA, 'RecordTruncated LastLine'),
            ('in_the_qualities', b'@c\nACGT\n+\nII', BAD_DATA, 'QualityLength LastLine'),
            # Nothing is missing for a reader.
            ('before_the_last_newline', b'@c\nACGT\n+\nIIII', 'ok 3', 'LastLine')):
        kind.add(f'cut_{name}', f'the file ends {name}'.replace('_', ' '), A + B + last,
                 scanQualities=scan,
                 kxCheck=found)


def add_other_files(kind):
    kind.add('empty', 'the file is empty', b'', scanQualities='ok 0', kxCheck='UnknownKind')
    kind.add('fasta', 'the file is FASTA', b'>a\nACGT\n>b\nCCGG\n', scanQualities='ok 1',
             kxCheck='UnknownKind')
    kind.add('only_nul', 'the file is 100 NULs', bytes(100), scanQualities='ok 0',
             kxCheck='UnknownKind')


def make():
    kind = Kind('fastq', 'fastq', SOUND, {})
    for add in (add_qualities, add_bases, add_names, add_lines, add_ends, add_other_files):
        add(kind)
    return kind
