"""Broken headers and records: the blocks are sound, and so are their checksums.

Readers check the header's lengths, and of each record that its length is 32 or more, that the
sequence's length is not negative, and that name, CIGAR, sequence and qualities fit. Nothing else is
checked where it is not needed; kxCheck tells the rest.
"""
from .cases import (BAD_ALLOC, BAD_DATA, BAD_LENGTH, CUT_SHORT, NOT_BAM, NOT_SAM, NO_REFERENCE,
                    OUT_OF_RANGE, TAG_TYPE, TOO_BIG, UNSORTED, Kind)
from .formats import (A, B, C, D, MARKER, NH, REFERENCES, TEXT, block, header, i32, record,
                      reference, u16)

# Calls on a BAM file, in the order of the columns; README.md tells their arguments. Counts are of
# records; those of bamInfo by reference, from none on.
SOUND = {
    'getNumReferences': 'ok 2',
    'getReferenceID': 'ok 0',
    'getReferenceString': 'ok chr2',
    'getHeader': 'ok 2',
    'bamInfo': 'ok sorted 1,2,1',
    'bamIndex': 'ok',
    'kxBamIndexComplete': 'ok',
    'getFeatureCountData': 'ok 3',
    'getStartsInReference': 'ok 2',
    'getFeatures': 'ok 10,20',
    'kxFields': 'ok 2,1',
    'kxFields_of_20': 'ok 2',
    'kxSamWriteRegions': 'ok 2',
    'samWrite': 'ok 2',
    'samWriteUnaligned': 'ok 1',
    'to_bam': 'ok 4',
    'to_bam_of_chr1': 'ok 2',
    'to_sam': 'ok 4',
    'to_fastq': 'ok 4',
    'to_fasta': 'ok 4',
    'bamSort': 'ok 4',
    'kxBamShuffleSeeded': 'ok 4',
    'scanQualities': 'ok 4',
    'kxCheck': 'none',
}
HEADER_CALLS = ['getNumReferences', 'getReferenceID', 'getReferenceString', 'getHeader']
GROUPS = {
    'header': HEADER_CALLS,
    'records': [call for call in SOUND if call not in HEADER_CALLS + ['kxCheck']],
    'all_records': ['to_bam', 'to_sam', 'to_fastq', 'to_fasta', 'bamSort', 'kxBamShuffleSeeded',
                    'scanQualities'],
    'indexes': ['bamIndex', 'kxBamIndexComplete'],
    'sweeps': ['kxFields', 'kxFields_of_20', 'kxSamWriteRegions'],
    # Those that print optional fields of records on chr1.
    'lines_of_chr1': ['kxSamWriteRegions', 'samWrite', 'to_sam'],
}

# What lies behind the record c, of the second reference, is not read for regions of the first one.
NOT_READ = {call: SOUND[call] for call in GROUPS['sweeps']}

HEAD = header()


def file(content):
    return block(content) + MARKER


def records(*bytes_of_records):
    return file(HEAD + b''.join(bytes_of_records))


def with_b(**fields):
    """The sound file with another record b."""
    fields = {'ops': '3M1D1M', **fields}
    return records(A, record(b'b', fields.pop('ref', 0), fields.pop('pos', 19), **fields), C, D)


def only(count):
    """What is left when the file seems to end behind so many of its records, 0 to 3."""
    by_reference = {0: '', 1: ' 0,1', 2: ' 0,2', 3: ' 0,2,1'}[count]
    on_chr1 = min(count, 2)
    return dict(bamInfo=f'ok sorted{by_reference}', getFeatureCountData=f'ok {count}',
                getStartsInReference=f'ok {on_chr1}', samWrite=f'ok {on_chr1}',
                getFeatures=['ok 0,0', 'ok 10,0', 'ok 10,20', 'ok 10,20'][count],
                kxFields=f'ok {on_chr1},{min(count, 1)}', kxFields_of_20=f'ok {on_chr1}',
                kxSamWriteRegions=f'ok {on_chr1}', to_bam_of_chr1=f'ok {on_chr1}', samWriteUnaligned='ok 0', all_records=f'ok {count}')


REST = A + B + C + D
FIRST_REFERENCE = reference(*REFERENCES[0])
CUT = dict(error=CUT_SHORT, found='HeaderTruncated')


def lost(kind, name, broken, content, error, found):
    """A header without which nothing can be read."""
    kind.add(name, broken, file(content), every=error, kxCheck=found)


def add_magics_and_ends(kind):
    no_magic = dict(error=NOT_BAM, found='HeaderMagic')
    lost(kind, 'magic_version', 'the magic is BAM and the byte 2', header(magic=b'BAM\2') + REST,
         **no_magic)
    lost(kind, 'magic_cram', 'the magic is CRAM', header(magic=b'CRAM') + REST, **no_magic)
    lost(kind, 'magic_lower_case', 'the magic is in lower case', header(magic=b'bam\1') + REST,
         **no_magic)
    lost(kind, 'content_is_sam', 'the blocks hold SAM text', TEXT.encode(), **no_magic)
    for name, size in (('magic', 2), ('text_length', 6), ('text', 40),
                       ('reference_count', len(TEXT) + 10),
                       ('reference_name', len(TEXT) + 18), ('reference_length', len(HEAD) - 2)):
        lost(kind, f'cut_in_{name}',
             f'the content ends {size} bytes into the header, inside the {name}'
             .replace('_', ' '), HEAD[:size], **CUT)


def add_header_lengths(kind):
    negative = dict(error=BAD_ALLOC, found='HeaderLength RecordsLost')
    lost(kind, 'text_length_negative', 'l_text is -1', header(l_text=-1) + REST, **negative)
    lost(kind, 'text_length_huge', 'l_text is 2^31 - 1', header(l_text=0x7FFFFFFF) + REST, **CUT)
    # What follows is read one byte off, and the next lengths are beyond the file.
    lost(kind, 'text_length_one_more', 'l_text is one more', header(l_text=len(TEXT) + 1) + REST,
         **CUT)
    lost(kind, 'text_length_one_less', 'l_text is one less', header(l_text=len(TEXT) - 1) + REST,
         **CUT)
    lost(kind, 'reference_count_negative', 'n_ref is -1', header(n_ref=-1) + REST, BAD_LENGTH,
         'HeaderLength RecordsLost')
    # Records are taken for references, the first one for a name that no NUL ends, until the fields
    # of one are a length.
    lost(kind, 'reference_count_huge', 'n_ref is 2^31 - 1', header(n_ref=0x7FFFFFFF) + REST,
         CUT_SHORT, 'ReferenceName HeaderTruncated')
    for name, length, expected in (('negative', -1, negative), ('huge', 0x7FFFFFFF, CUT)):
        tail = FIRST_REFERENCE + i32(length) + b'chr2\0' + i32(500)
        lost(kind, f'reference_name_length_{name}', f'l_name of the second reference is {length}',
             header(tail=tail) + REST, **expected)


def add_reference_counts(kind):
    """The header is one, and the records begin elsewhere."""
    lost_records = 'HeaderReference RecordLayout RecordsLost'
    kind.add('reference_count_one_less', 'n_ref is one less', file(header(n_ref=1) + REST),
             records=NOT_BAM, getNumReferences='ok 1', getHeader='ok 1',
             getReferenceString=NO_REFERENCE, kxCheck=lost_records + ' Reference')
    kind.add('reference_count_0', 'n_ref is 0, and two references follow',
             file(header(n_ref=0) + REST),
             records=NOT_BAM, getNumReferences='ok 0', getHeader='ok 0', getReferenceID='ok -1',
             getReferenceString=NO_REFERENCE, sweeps=NO_REFERENCE, samWrite=NO_REFERENCE,
             to_bam_of_chr1=NOT_BAM, kxCheck=lost_records)
    kind.add('reference_count_one_more', 'n_ref is one more', file(header(n_ref=3) + REST),
             records=NOT_BAM, getNumReferences='ok 3', getHeader='ok 3',
             kxCheck='ReferenceName ' + lost_records)


def add_dictionaries(kind):
    def dictionary(name, broken, tail, found, text=TEXT, **outcomes):
        kind.add(name, broken, file(header(text, tail=FIRST_REFERENCE + tail) + REST),
                 kxCheck=found, **outcomes)

    dictionary('reference_name_of_length_0', 'l_name of the second reference is 0',
               i32(0) + i32(500), 'ReferenceName HeaderReference', getReferenceString='ok')
    dictionary('reference_name_empty', 'the name of the second reference is empty',
               reference('', 500), 'ReferenceName HeaderReference', getReferenceString='ok')
    dictionary('reference_name_without_nul', 'the name of the second reference lacks its NUL',
               i32(4) + b'chr2' + i32(500), 'ReferenceName', getReferenceString='ok chr')
    dictionary('reference_name_twice', 'both references have the name chr1', reference('chr1', 500),
               'ReferenceName', TEXT.replace('chr2', 'chr1'), getReferenceString='ok chr1')
    for name, bad in (('blank', 'chr 2'), ('comma', 'chr,2'), ('star_first', '*chr2'),
                      ('bracket', 'chr[2')):
        dictionary(f'reference_name_with_{name}', f'the second reference has the name {bad}',
                   reference(bad, 500), 'ReferenceName', TEXT.replace('chr2', bad),
                   getReferenceString=f'ok {bad}')
    dictionary('reference_length_0', 'the second reference has length 0', reference('chr2', 0),
               'HeaderReference Position')
    dictionary('reference_length_2_31', 'the second reference has length 2^31',
               reference('chr2', 1 << 31), 'HeaderLength RecordsLost')


def add_texts(kind):
    def text(name, broken, old, new, found, **outcomes):
        kind.add(name, broken, file(header(TEXT.replace(old, new)) + REST), kxCheck=found,
                 **outcomes)

    text('text_another_name', 'an @SQ line has another name', 'SN:chr2', 'SN:chrX',
         'HeaderReference')
    text('text_another_length', 'an @SQ line has another length', 'LN:500', 'LN:501',
         'HeaderReference')
    text('text_lacks_a_reference', 'an @SQ line is missing', '@SQ\tSN:chr2\tLN:500\n', '',
         'HeaderReference')
    text('text_has_one_more', 'there is an @SQ line more', 'LN:500\n', 'LN:500\n@SQ\tSN:x\tLN:1\n',
         'HeaderReference')
    text('text_without_length', 'an @SQ line has no length', '\tLN:500', '',
         'HeaderLine HeaderReference')
    text('text_without_name', 'an @SQ line has no name', '\tSN:chr2', '',
         'HeaderLine HeaderReference')
    text('text_line_without_at', 'a header line lacks its @', '@HD', 'HD', 'HeaderLine')
    text('text_line_with_blanks', 'a header line has blanks for TABs', '@HD\tVN:1.6\tSO:coordinate',
         '@HD VN:1.6 SO:coordinate', 'HeaderLine')
    text('text_empty_line', 'the text has an empty line', 'coordinate\n', 'coordinate\n\n',
         'HeaderLine')
    text('text_field_without_colon', 'a field of a header line has no colon', 'VN:1.6', 'VN1.6',
         'HeaderLine')


def add_lengths(kind):
    """Lengths of and within record b, which disagree with its bytes."""
    unreadable = 'RecordLayout RecordsLost'
    kind.add('record_length_negative', 'the length of a record is -1', with_b(size=-1),
             records=BAD_ALLOC, kxCheck=unreadable)
    for size in (0, 31):
        kind.add(f'record_length_{size}', f'the length of a record is {size}', with_b(size=size),
                 records=NOT_BAM, kxCheck=unreadable)
    # The file seems to end inside the record, and that is its end.
    kind.add('record_length_huge', 'the length of a record is 2^31 - 1', with_b(size=0x7FFFFFFF),
             **only(1), kxCheck=unreadable)
    kind.add('record_length_beyond_the_file', 'the length of a record is 1000', with_b(size=1000),
             **only(1), kxCheck='RecordTruncated')
    # The next length is read one byte off and is beyond the file; NH is cut, or has a byte more.
    # What follows looks like a long record in one case, and like none in the other.
    size = len(B) - 4
    kind.add('record_length_one_less', 'the length of a record is one less', with_b(size=size - 1),
             **{**only(2), 'lines_of_chr1': NOT_SAM}, kxCheck='Tag RecordTruncated')
    kind.add('record_length_one_more', 'the length of a record is one more', with_b(size=size + 1),
             **{**only(2), 'lines_of_chr1': NOT_SAM}, kxCheck='Tag RecordLayout RecordsLost')
    for name, broken, field, value in (
            ('name_length_255', 'l_read_name is 255', 'l_read_name', 255),
            ('cigar_count_1000', 'n_cigar_op is 1000', 'n_cigar', 1000),
            ('cigar_count_65535', 'n_cigar_op is 65535', 'n_cigar', 65535),
            ('sequence_length_negative', 'l_seq is -1', 'l_seq', -1),
            # The sequence fits, and the last quality does not.
            ('sequence_length_7', 'l_seq is 7, one byte too many for the qualities', 'l_seq', 7),
            ('sequence_length_200', 'l_seq is 200', 'l_seq', 200),
            ('sequence_length_huge', 'l_seq is 2^31 - 1', 'l_seq', 0x7FFFFFFF)):
        kind.add(name, broken, with_b(**{field: value}), records=NOT_BAM, kxCheck='RecordLayout')
    # The parts fit, at the expense of the optional fields.
    kind.add('sequence_length_one_more', 'l_seq is one more', with_b(l_seq=5),
             lines_of_chr1=NOT_SAM,
             kxCheck='CigarLength Tag')
    whole = HEAD + A + B + C
    for name, size in (('length', 2), ('fixed_fields', 20), ('name', 36), ('qualities', len(D) - 5),
                       ('optional_fields', len(D) - 1)):
        kind.add(f'record_cut_in_{name}',
                 f'the content ends {size} bytes into the last record, in its {name}'
                 .replace('_', ' '),
                 file(whole + D[:size]), **only(3), kxCheck='RecordTruncated')
    kind.add('three_bytes_behind_the_records', 'three bytes stand behind the last record',
             file(whole + D + b'abc'), kxCheck='RecordTruncated')
    kind.add('zeros_behind_the_records', '40 zeros stand behind the last record',
             file(whole + D + bytes(40)), records=NOT_BAM, **NOT_READ, kxCheck=unreadable)


def add_places(kind):
    """References and positions of a record that is laid out well, and of its mate."""
    def with_c(ref):
        return records(A, B, record(b'c', ref, 29), D)

    needs_name = dict(getFeatureCountData=NO_REFERENCE, to_sam=NO_REFERENCE,
                      kxBamIndexComplete=NO_REFERENCE,
                      kxCheck='Reference')
    kind.add('reference_2', 'refID is 2 of two references', with_c(2), bamInfo='ok sorted 1,2,0,1',
             to_bam_of_chr1=NO_REFERENCE, **needs_name)
    for name, ref in (('2_20', 1 << 20), ('2_31', 0x7FFFFFFF)):
        kind.add(f'reference_{name}', f'refID is {ref} of two references', with_c(ref),
                 bamInfo=NO_REFERENCE, bamIndex=NO_REFERENCE, to_bam_of_chr1=NO_REFERENCE,
                 **needs_name)
    # As without a reference; it does not lie behind those with one.
    kind.add('reference_negative', 'refID is -2', with_c(-2), bamInfo='ok sorted 2,2',
             samWriteUnaligned='ok 2', kxCheck='Reference')
    kind.add('position_negative', 'the position is -2', records(record(pos=-2), B, C, D),
             getFeatures='ok 20,0', kxCheck='Position')
    off_region = dict(getFeatures='ok 10,0', kxFields='ok 1,1', kxFields_of_20='ok 1',
                      kxSamWriteRegions='ok 1', samWrite='ok 1', kxCheck='Position')
    kind.add('position_behind_the_reference', 'the position is the length of the reference',
             with_b(pos=1000), **off_region)
    kind.add('end_behind_the_reference', 'the alignment ends behind the reference', with_b(pos=998),
             **{**off_region, 'kxFields': 'ok 2,1', 'kxSamWriteRegions': 'ok 2',
                'samWrite': 'ok 2'})
    for name, pos in (('2_29', 1 << 29), ('2_31', 0x7FFFFFFF)):
        kind.add(f'position_{name}', f'the position is {pos}', with_b(pos=pos), indexes=TOO_BIG,
                 getStartsInReference='ok 1', **off_region)
    kind.add('mate_reference_2', 'the mate has refID 2 of two references', with_b(mate=(2, 9)),
             lines_of_chr1=NO_REFERENCE, to_bam_of_chr1=NO_REFERENCE, kxCheck='MateReference')
    kind.add('mate_reference_negative', 'the mate has refID -2', with_b(mate=(-2, 9)),
             kxCheck='MateReference')
    kind.add('mate_position_behind_the_reference', 'the mate lies behind its reference',
             with_b(mate=(1, 500)), kxCheck='MatePosition')
    kind.add('mate_position_negative', 'the mate has position -2', with_b(mate=(0, -2)),
             kxCheck='MatePosition')


def add_names(kind):
    for name, broken, stored_name in (
            ('name_length_0', 'l_read_name is 0', b''), ('name_empty', 'the name is empty', b'\0'),
            ('name_without_nul', 'the name lacks its NUL', b'bc'),
            ('name_with_nul', 'the name has a NUL inside', b'b\0c\0'),
            ('name_with_blank', 'the name has a blank', b'b c\0'),
            ('name_with_at', 'the name has an @', b'b@c\0'),
            ('name_with_control_character', 'the name has a control character', b'b\7\0'),
            ('name_beyond_ascii', 'the name has a byte beyond ASCII', b'b\xe9\0')):
        # samWrite prints each line as a C string, and the name's NUL ends it.
        kind.add(name, broken, with_b(stored_name=stored_name), kxCheck='ReadName')


def add_alignments(kind):
    """CIGAR, bin and qualities."""
    kind.add('cigar_op_9', 'the CIGAR has an op of code 9', with_b(ops='3M1D1?'), kxCheck='CigarOp')
    kind.add('cigar_too_short', 'the CIGAR covers three of four bases', with_b(ops='3M'),
             kxCheck='CigarLength')
    kind.add('cigar_too_long', 'the CIGAR covers five bases of four', with_b(ops='5M'),
             kxCheck='CigarLength')
    kind.add('cigar_length_2_28', 'an op of the CIGAR has length 2^28 - 1',
             with_b(ops=f'{(1 << 28) - 1}M'), kxCheck='CigarLength Position')
    kind.add('cigar_beyond_every_bin', 'the CIGAR covers more than 2^29 positions',
             with_b(ops='268435455N' * 3 + '4M', stored_bin=0), kxBamIndexComplete='ok',
             kxCheck='Position')
    for name, stored_bin in (('0', 0), ('of_metadata', 37450), ('65535', 65535)):
        kind.add(f'bin_{name}', f'the bin is {stored_bin}', with_b(stored_bin=stored_bin),
                 kxCheck='Bin')
    # Qualities from 0 to 93 are what scanQualities is told to take.
    for name, broken, quals in (('quality_94', 'a quality is 94', (40, 94, 40, 40)),
                                ('quality_254', 'a quality is 254', (40, 254, 40, 40)),
                                ('quality_missing_in_part', 'some qualities are missing',
                                 (255, 40, 40, 40))):
        kind.add(name, broken, with_b(quals=quals), scanQualities=BAD_DATA, kxCheck='Quality')


def add_orders(kind):
    kind.add('order_on_a_reference', 'the second record lies before the first one',
             records(B, A, C, D),
             bamInfo='ok unsorted 1,2,1', indexes=UNSORTED, sweeps=UNSORTED,
             getFeatures='ok 20,10',
             kxCheck='SortOrder')
    # Behind a record that comes after a region nothing of the region is looked for.
    behind = dict(kxFields='ok 0,0', kxFields_of_20='ok 0', kxSamWriteRegions='ok 0')
    kind.add('order_none_first', 'a record without a reference comes first', records(D, A, B, C),
             bamInfo='ok unsorted 1,2,1', indexes=UNSORTED, **behind,
             to_bam_of_chr1=OUT_OF_RANGE,
             kxCheck='SortOrder')
    # Building an index allows this one. Of the two records that are wanted, one is not on chr1.
    kind.add('order_of_references', 'the record on the second reference comes first',
             records(C, A, B, D), bamInfo='ok unsorted 1,2,1', **behind,
             to_bam_of_chr1=OUT_OF_RANGE, kxCheck='SortOrder')


def add_tags(kind):
    """Optional fields of record b, before its NH or in its place."""
    def tag(name, broken, field, **outcomes):
        kind.add(f'tag_{name}', broken, with_b(tags=field), **{'kxCheck': 'Tag', **outcomes})

    unknown, cut = dict(lines_of_chr1=TAG_TYPE), dict(lines_of_chr1=NOT_SAM)
    tag('type_unknown', 'a field has type x', b'XXx\1' + NH, **unknown)
    tag('type_0', 'a field has type 0', b'XX\0\1' + NH, **unknown)
    tag('name_with_digit_first', 'the name of a field begins with a digit', b'1XC\1' + NH)
    tag('name_not_printable', 'the name of a field has a control character', b'X\1C\1' + NH)
    tag('repeated', 'a field comes twice', NH + NH, kxCheck='TagRepeated')
    for count in (1, 2):
        tag(f'rest_of_{count}', f'{count} bytes stand behind the last field', NH + b'XY'[:count],
            **cut)
    tag('rest_without_value', 'the last field has no value', NH + b'XYi', **cut)
    for letter, size in (('A', 0), ('s', 1), ('i', 2), ('f', 3)):
        tag(f'cut_{letter}', f'the record ends inside a value of type {letter}',
            NH + b'XY' + letter.encode() + bytes(size), **cut)
    # A text ends with the record at the latest.
    tag('text_without_nul', 'a text has no NUL', NH + b'XYZtext')
    tag('hex_without_nul', 'an H field has no NUL', NH + b'XYH1A')
    tag('hex_odd', 'an H field has three digits', NH + b'XYH1AF\0')
    tag('hex_letters', 'an H field has letters that are no digits', NH + b'XYHGG\0')
    tag('hex_lower_case', 'an H field has digits in lower case', NH + b'XYH1a\0')
    tag('character', 'a character cannot be printed', NH + b'XYA\7')
    tag('array_type_unknown', 'an array has type x', NH + b'XYBx' + i32(1) + b'\1', **unknown)
    # Z has an element size, and is printed as a text.
    tag('array_type_text', 'an array has type Z', NH + b'XYBZ' + i32(1) + b'\1')
    tag('array_type_array', 'an array has type B', NH + b'XYBB' + i32(1) + b'\1', **unknown)
    # A negative length counts as 0.
    for count in (-1, -8, -(1 << 31)):
        tag(f'array_length_{count}'.replace('-', 'minus_'), f'the length of an array is {count}',
            NH + b'XYBc' + i32(count))
    for name, count in (('one_more', 3), ('huge', 0x7FFFFFFF)):
        tag(f'array_length_{name}', f'an array of two elements has length {count}',
            NH + b'XYBS' + i32(count) + u16(1) + u16(2), **cut)
    tag('array_without_length', 'an array has no length', NH + b'XYBc', **cut)


def make():
    kind = Kind('bam', 'bam', SOUND, GROUPS)
    for add in (add_magics_and_ends, add_header_lengths, add_reference_counts, add_dictionaries,
                add_texts, add_lengths, add_places, add_names, add_alignments, add_orders,
                add_tags):
        add(kind)
    return kind
