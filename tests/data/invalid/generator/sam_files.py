"""Broken SAM files: three records, of which the second one, b, is broken.

Readers need eleven fields, a name of at most 254 characters, a CIGAR of known letters, and bases in
capital letters; numbers are taken as far as they go. samInfo looks at name and position alone. What
a record takes in it may be unable to print. kxCheck goes by the format.
"""
from .cases import BAD_DATA, BAD_NUMBER, NONE, NOT_SAM, OUT_OF_RANGE, TAG_TYPE, Kind
from .formats import TEXT

# Counts are of records; those of samInfo by name, as names first come, from "*" on.
SOUND = {
    'samInfo': 'ok sorted 0,2,1',
    'samSort': 'ok 3',
    'samToBam': 'ok 3',
    'to_bam': 'ok 3',
    'to_sam': 'ok 3',
    'to_fastq': 'ok 3',
    'to_fasta': 'ok 3',
    'scanQualities': 'ok 3',
    'kxCheck': NONE,
}
RECORDS = ['samSort', 'samToBam', 'to_bam', 'to_sam', 'to_fastq', 'to_fasta', 'scanQualities']
# samSort and to_sam print optional fields.
GROUPS = {'records': RECORDS, 'lines': ['samSort', 'to_sam']}

NAMES = ['qname', 'flag', 'rname', 'pos', 'mapq', 'cigar', 'rnext', 'pnext', 'tlen', 'seq', 'qual']


def fields(qname='b', flag='0', rname='chr1', pos='20', mapq='60', cigar='3M1D1M', rnext='*',
           pnext='0',
           tlen='0', seq='ACGT', qual='IIII', tags='NH:i:1'):
    return [qname, flag, rname, pos, mapq, cigar, rnext, pnext, tlen, seq, qual, tags]


def line(**changed):
    return '\t'.join(fields(**changed)) + '\n'


A = line(qname='a', pos='10', cigar='4M')
C = line(qname='c', rname='chr2', pos='30', cigar='4M')

# What readers refuse, and lines without a name and a position, which samInfo passes over.
REFUSED = dict(records=NOT_SAM)
PASSED_OVER = dict(samInfo='ok sorted 0,1,1')


class SamFiles(Kind):
    def __init__(self):
        super().__init__('sam', 'sam', SOUND, GROUPS)

    def text(self, name, broken, content, **outcomes):
        self.add(name, broken, content.encode('latin-1'), **outcomes)

    def whole_line(self, name, broken, second, **outcomes):
        self.text(name, broken, TEXT + A + second + C, **outcomes)

    def field(self, name, value, broken, found, column=None, **outcomes):
        column = column or name.split('_')[0]
        self.whole_line(name, broken, line(**{column: value}), kxCheck=found, **outcomes)

    def tag(self, name, value, broken, found='Tag', **outcomes):
        """An optional field in the place of NH."""
        self.field(f'tag_{name}', value, broken, found, 'tags', **outcomes)

    def header(self, name, broken, old, new, found, **outcomes):
        self.text(f'header_{name}', broken, TEXT.replace(old, new) + A + line() + C, kxCheck=found,
                  **outcomes)


def add_lines(kind):
    sound = fields()
    for count in range(1, 11):
        kind.whole_line(f'fields_{count}', f'a line has {count} of 11 fields',
                        '\t'.join(sound[:count]) + '\n',
                        **REFUSED, **(PASSED_OVER if count < 4 else {}), kxCheck='FieldCount')
    kind.whole_line('blanks_for_tabs', 'a line has blanks for TABs', line().replace('\t', ' '),
                    **REFUSED, kxCheck='FieldCount')
    # Each field is in the place of the next one, the MAPQ in that of the CIGAR.
    kind.whole_line('two_tabs', 'two TABs stand between two fields',
                    line().replace('\tchr1\t20', '\t\tchr1\t20'), records=OUT_OF_RANGE,
                    kxCheck='FieldNumber Reference MateReference Sequence QualityLength CigarOp '
                            'Tag SortOrder')
    kind.whole_line('empty_line', 'an empty line stands between records', '\n' + line(),
                    kxCheck='FieldCount')
    kind.whole_line('text_line', 'a line of text stands between records', 'text\n' + line(),
                    **REFUSED, kxCheck='FieldCount')
    kind.whole_line('header_line_behind_records', 'a header line stands between records',
                    '@CO\tx\n' + line(), **REFUSED, kxCheck='HeaderLine')
    kind.text('cut_in_a_line', 'the file ends in the last line', TEXT + A + line() + C[:20],
              **REFUSED, kxCheck='FieldCount LastLine')
    kind.text('no_last_newline', 'the last line has no newline', TEXT + A + line() + C[:-1],
              kxCheck='LastLine')
    kind.text('order', 'the second record lies before the first one', TEXT + line() + A + C,
              samInfo='ok unsorted 0,2,1', kxCheck='SortOrder')
    kind.text('empty', 'the file is empty', '', samInfo='ok sorted 0', records='ok 0',
              kxCheck='UnknownKind')


def add_names(kind):
    """QNAME. An empty one is stored as such."""
    kind.field('qname_empty', '', 'QNAME is empty', 'ReadName', samInfo='ok sorted 0,1,1')
    kind.field('qname_blank', 'b c', 'QNAME has a blank', 'ReadName', samInfo='ok sorted 0,1,1')
    kind.field('qname_at', 'b@c', 'QNAME has an @', 'ReadName')
    kind.field('qname_control', 'b\x07', 'QNAME has a control character', 'ReadName')
    kind.field('qname_beyond_ascii', 'b\xe9', 'QNAME has a byte beyond ASCII', 'ReadName')
    kind.field('qname_255', 'b' * 255, 'QNAME has 255 characters', 'ReadName', **REFUSED)


def add_numbers(kind):
    """Numbers. samInfo, too, needs a number in FLAG and in POS."""
    number = 'FieldNumber'
    for column in ('flag', 'mapq', 'pnext', 'tlen'):
        with_info = PASSED_OVER if column == 'flag' else {}
        kind.field(f'{column}_empty', '', f'{column.upper()} is empty', number, **with_info)
        kind.field(f'{column}_letter', 'x', f'{column.upper()} is a letter', number, **with_info)
        # For samInfo the letter is the name.
        kind.field(f'{column}_digits_and_letter', '0x', f'{column.upper()} is 0x', number,
                   **with_info)
    kind.field('flag_negative', '-1', 'FLAG is -1', number)
    kind.field('flag_65536', '65536', 'FLAG is 65536', number)
    kind.field('mapq_256', '256', 'MAPQ is 256', number)
    kind.field('mapq_negative', '-1', 'MAPQ is -1', number)
    kind.field('pnext_negative', '-1', 'PNEXT is -1', number)
    kind.field('pnext_2_31', '2147483648', 'PNEXT is 2^31', number)
    kind.field('tlen_2_31', '2147483648', 'TLEN is 2^31', number)
    # Readers take 0, which is before the record a; samInfo the next word, or none.
    kind.field('pos_empty', '', 'POS is empty', 'FieldNumber SortOrder')
    kind.field('pos_letter', 'x', 'POS is x', 'FieldNumber SortOrder', **PASSED_OVER)
    # Unsigned for samInfo; SortOrder is another thing than the sortedness of samInfo.
    kind.field('pos_negative', '-1', 'POS is -1', 'FieldNumber SortOrder')
    kind.field('pos_2_31', '2147483648', 'POS is 2^31', 'FieldNumber SortOrder')
    kind.field('pos_2_64', '18446744073709551616', 'POS is 2^64', 'FieldNumber SortOrder')
    kind.field('pos_behind_the_reference', '1001', 'POS is behind the reference', 'Position')
    kind.field('pos_with_a_blank', '20 ', 'POS has a blank behind it', 'FieldNumber SortOrder')


def add_references(kind):
    """References. An unknown name is none."""
    kind.field('rname_unknown', 'chr3', 'RNAME is not in the header', 'Reference SortOrder',
               samInfo='ok sorted 0,1,1,1')
    # samInfo takes the next word for the name.
    kind.field('rname_empty', '', 'RNAME is empty', 'Reference SortOrder',
               samInfo='ok sorted 0,1,1,1')
    kind.field('rname_case', 'CHR1', 'RNAME is in capital letters', 'Reference SortOrder',
               samInfo='ok sorted 0,1,1,1')
    kind.field('rnext_unknown', 'chr3', 'RNEXT is not in the header', 'MateReference')
    kind.field('rnext_empty', '', 'RNEXT is empty', 'MateReference')
    kind.whole_line('pnext_behind_the_reference', 'PNEXT is behind the reference',
                    line(rnext='chr2', pnext='501'), kxCheck='MatePosition')


def add_cigars(kind):
    kind.field('cigar_letter', '3M1Q1M', 'CIGAR has the letter Q', 'CigarOp', **REFUSED)
    kind.field('cigar_lower_case', '4m', 'CIGAR is in lower case', 'CigarOp', **REFUSED)
    kind.field('cigar_digits_at_its_end', '3M1D1M2', 'CIGAR ends in digits', 'CigarOp',
               records=OUT_OF_RANGE)
    kind.field('cigar_blank', '3M 1M', 'CIGAR has a blank', 'CigarOp')
    kind.field('cigar_empty', '', 'CIGAR is empty', 'CigarOp')
    kind.field('cigar_without_digits', 'M', 'CIGAR is M', 'CigarOp')
    kind.field('cigar_negative', '-4M', 'CIGAR has a negative length', 'CigarOp')
    kind.field('cigar_length_2_28', '268435456M', 'CIGAR has a length of 2^28', 'CigarOp')
    kind.field('cigar_length_2_64', '18446744073709551616M', 'CIGAR has a length of 2^64',
               'CigarOp')
    kind.field('cigar_too_short', '3M', 'CIGAR covers three of four bases', 'CigarLength')
    kind.field('cigar_too_long', '5M', 'CIGAR covers five bases of four', 'CigarLength')
    kind.field('cigar_behind_the_reference', '3M1000D1M', 'the alignment ends behind the reference',
               'Position')


def add_bases_and_qualities(kind):
    for name, broken, seq in (('digit', 'a digit', 'AC1T'), ('blank', 'a blank', 'AC T'),
                              ('dash', 'a dash', 'AC-T'),
                              ('beyond_ascii', 'a byte beyond ASCII', 'AC\xe9T')):
        kind.field(f'seq_{name}', seq, f'SEQ has {broken}', 'Sequence', **REFUSED)
    # No bases; the qualities are not looked at, and a scan gets two "*".
    kind.field('seq_empty', '', 'SEQ is empty', 'Sequence QualityLength CigarLength')
    kind.field('qual_longer', 'IIIII', 'QUAL is longer than SEQ', 'QualityLength')
    # The TAB behind it, and the tag, are taken for qualities; the TAB's is below 0.
    kind.field('qual_shorter', 'III', 'QUAL is shorter than SEQ', 'QualityLength',
               scanQualities=BAD_DATA)
    kind.field('qual_empty', '', 'QUAL is empty', 'QualityLength', scanQualities=BAD_DATA)
    kind.field('qual_blank', 'II I', 'QUAL has a blank', 'Quality', scanQualities=BAD_DATA)
    kind.field('qual_control', 'II\x07I', 'QUAL has a control character', 'Quality',
               scanQualities=BAD_DATA)
    kind.field('qual_beyond_ascii', 'II\xe9I', 'QUAL has a byte beyond ASCII', 'Quality',
               scanQualities=BAD_DATA)


def add_tags(kind):
    """Optional fields. Types of the binary form alone become fields without a value, and the bytes
    behind them are taken for one.
    """
    kind.tag('empty', '', 'a TAB stands at the end of the line')
    kind.tag('between_tabs', 'NH:i:1\t\tXX:i:1', 'an optional field is empty')
    kind.tag('four_characters', 'NH:i', 'an optional field has four characters', **REFUSED)
    kind.tag('character_missing', 'XX:A:', 'a field of type A has no character', **REFUSED)
    kind.tag('two_characters', 'XX:A:ab', 'a field of type A has two characters')
    kind.tag('control_character', 'XX:A:\x07', 'a field of type A has a control character')
    kind.tag('name_of_digits', '12:i:1', 'the name of a field is 12')
    kind.tag('name_of_one_letter', 'N:i:1', 'the name of a field is one letter', lines=TAG_TYPE)
    kind.tag('no_colon', 'NHXi:1', 'a field has no colon behind its name')
    kind.tag('type_unknown', 'XX:x:1', 'a field has type x', lines=TAG_TYPE)
    kind.tag('type_c', 'XX:c:1', 'a field has type c', lines=NOT_SAM)
    kind.tag('integer_missing', 'XX:i:', 'a field of type i has no value')
    kind.tag('integer_letter', 'XX:i:x', 'a field of type i is a letter')
    kind.tag('integer_with_fraction', 'XX:i:1.5', 'a field of type i has a fraction')
    kind.tag('integer_2_32', 'XX:i:4294967296', 'a field of type i is 2^32')
    kind.tag('float_missing', 'XX:f:', 'a field of type f has no value')
    kind.tag('float_letter', 'XX:f:x', 'a field of type f is a letter')
    kind.tag('float_infinite', 'XX:f:inf', 'a field of type f is infinite')
    kind.tag('float_point_at_its_end', 'XX:f:10.', 'a field of type f ends with its point')
    kind.tag('float_hexadecimal', 'XX:f:0x1', 'a field of type f is hexadecimal')
    kind.tag('text_control', 'XX:Z:a\x07', 'a text has a control character')
    kind.tag('text_beyond_ascii', 'XX:Z:a\xe9', 'a text has a byte beyond ASCII')
    # One pair is kept, a digit alone is one.
    kind.tag('hex_odd', 'XX:H:1', 'an H field has one digit')
    kind.tag('hex_letter', 'XX:H:GG', 'an H field has letters that are no digits',
             records=BAD_NUMBER)
    for name, value, broken in (('missing', 'XX:B:', 'an array has no type'),
                                ('type_x', 'XX:B:x,1', 'an array has type x'),
                                ('element_missing', 'XX:B:c,', 'an element of an array is missing'),
                                ('element_letter', 'XX:B:c,x',
                                 'an element of an array is a letter')):
        kind.tag(f'array_{name}', value, broken, records=BAD_NUMBER)
    # The number behind the type is an element, as no comma stands before it.
    kind.tag('array_no_comma', 'XX:B:c1', 'an array has no comma')
    kind.tag('repeated', 'NH:i:1\tNH:i:1', 'a field comes twice', 'TagRepeated')


def add_headers(kind):
    """The header, which is not parsed, but for names and lengths of @SQ lines."""
    # A text that begins with @ and is no SAM header is FASTQ.
    kind.header('type', 'a header line begins with @1', '@HD', '@1D', 'ReadStructure')
    kind.header('blanks', 'a header line has blanks for TABs', '@HD\tVN:1.6\tSO', '@HD VN:1.6 SO',
                'HeaderLine')
    kind.header('field', 'a field of a header line has no colon', 'VN:1.6', 'VN1.6', 'HeaderLine')
    kind.header('empty_line', 'an empty line stands in the header', 'coordinate\n',
                'coordinate\n\n', 'FieldCount HeaderLine', **REFUSED, samInfo='ok sorted 0,2,1')
    kind.header('no_length', 'an @SQ line has no length', '\tLN:500', '', 'HeaderLine Position')
    kind.header('length_0', 'an @SQ line has length 0', 'LN:500', 'LN:0', 'HeaderLine Position')
    kind.header('length_letter', 'an @SQ line has a letter for its length', 'LN:500', 'LN:x',
                'HeaderLine Position')
    kind.header('length_2_31', 'an @SQ line has length 2^31', 'LN:500', 'LN:2147483648',
                'HeaderLine Position')
    kind.header('no_name', 'an @SQ line has no name', 'SN:chr2\t', '', 'HeaderLine Reference')
    for name, bad in (('blank', 'chr 2'), ('comma', 'chr,2'), ('star_first', '*chr2'),
                      ('bracket', 'chr[2')):
        whole = TEXT.replace('SN:chr2', f'SN:{bad}') + A + line() + line(qname='c', pos='30',
                                                                         cigar='4M')
        kind.text(f'header_name_with_{name}', f'an @SQ line has the name {bad}', whole,
                  samInfo='ok sorted 0,3', kxCheck='ReferenceName')
    kind.header('name_twice', 'two @SQ lines have the same name', 'SN:chr2', 'SN:chr1',
                'ReferenceName Reference')
    kind.header('no_sequences', 'the header has @SQ lines for no record', 'SN:chr', 'SN:x',
                'Reference')


def make():
    kind = SamFiles()
    for add in (add_lines, add_names, add_numbers, add_references, add_cigars,
                add_bases_and_qualities, add_tags, add_headers):
        add(kind)
    return kind
