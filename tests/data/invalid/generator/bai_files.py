"""Broken indexes for sound.bam, whose header and pairs of records lie in a block each.

Readers check the magic and that counts are not negative and no more than the file holds. What an
index says of the file is for kxCheck to compare, when it is given both.
"""
from .bgzf_files import FIRST, LAST, SECOND, file
from .cases import BAI_CUT, NONE, NOT_BAI, NOT_BAM, Kind
from .formats import A, MARKER, block, i32, u64

# Calls on the sound BAM file with the index; kxCheck_alone is given the index, kxCheck both.
SOUND = {
    'getStartsInReference': 'ok 2',
    'getFeatures': 'ok 10,20',
    'kxFields': 'ok 2,1',
    'kxFields_of_20': 'ok 2',
    'kxSamWriteRegions': 'ok 2',
    'samWrite': 'ok 2',
    'kxCheck_alone': NONE,
    'kxCheck': NONE,
}
GROUPS = {'checks': ['kxCheck_alone', 'kxCheck']}

MAGIC = b'BAI\1'
METADATA = 37450
BIN = 4681  # of all records here

# Virtual offsets.
BEGIN_A = len(FIRST) << 16
BEGIN_B = BEGIN_A + len(A)
BEGIN_C = len(FIRST + SECOND) << 16
END = len(FIRST + SECOND + LAST) << 16


def chunk_bin(number, *chunks, count=None):
    return i32(number) + i32(len(chunks) if count is None else count) + b''.join(
        u64(beg) + u64(end) for beg, end in chunks)


def entry(*bins, windows=(), n_bin=None, n_intv=None):
    """A reference of the index."""
    return (i32(len(bins) if n_bin is None else n_bin) + b''.join(bins) +
            i32(len(windows) if n_intv is None else n_intv) + b''.join(map(u64, windows)))


# The only chunk of the first reference.
OF_CHR1 = ((BEGIN_A, BEGIN_C),)
METADATA_1 = chunk_bin(METADATA, (BEGIN_A, BEGIN_C), (2, 0))
METADATA_2 = chunk_bin(METADATA, (BEGIN_C, END), (1, 0))

# What queries make of an index that ends too early, or finds nothing.
CUT = dict(every=BAI_CUT, checks='IndexTruncated')
NONE_OF_REGION = dict(getFeatures='ok 0,0', kxFields='ok 0,0', kxFields_of_20='ok 0',
                      kxSamWriteRegions='ok 0', samWrite='ok 0')
NO_RECORD = dict(getStartsInReference='ok 0', **NONE_OF_REGION)


def chr1(*bins, windows=(BEGIN_A,), **counts):
    return entry(*(bins or (chunk_bin(BIN, *OF_CHR1),)), METADATA_1, windows=windows, **counts)


def chr2(*bins, windows=(BEGIN_C,), **counts):
    return entry(*(bins or (chunk_bin(BIN, (BEGIN_C, END)),)), METADATA_2, windows=windows,
                 **counts)


def index(*references, magic=MAGIC, n_ref=None, rest=u64(1)):
    count = len(references) if n_ref is None else n_ref
    return magic + i32(count) + b''.join(references) + rest


WHOLE = index(chr1(), chr2())


def first(kind, name, broken, one, found, checks=None, **outcomes):
    """An index in which the first reference is broken."""
    kind.add(name, broken, index(one, chr2()), kxCheck_alone=checks or NONE, kxCheck=found,
             **outcomes)


def add_magics(kind):
    kind.add('empty', 'the file is empty', b'', every=BAI_CUT, kxCheck_alone='UnknownKind',
             kxCheck='IndexMagic')
    kind.add('cut_in_the_magic', 'the file ends inside its magic', MAGIC[:3], every=BAI_CUT,
             kxCheck_alone='UnknownKind', kxCheck='IndexMagic')
    for name, magic in (('version', b'BAI\2'), ('csi', b'CSI\1')):
        kind.add(f'magic_{name}', f'the magic is {magic[:3].decode()} and the byte {magic[3]}',
                 index(chr1(), chr2(), magic=magic), every=NOT_BAI, kxCheck_alone='UnknownKind',
                 kxCheck='IndexMagic')
    kind.add('compressed', 'the index is in a BGZF block', block(WHOLE) + MARKER, every=NOT_BAI,
             kxCheck_alone='HeaderMagic', kxCheck='IndexMagic')
    kind.add('bam_file', 'the file is the BAM file', file(SECOND), every=NOT_BAI,
             kxCheck='IndexMagic')


def add_ends(kind):
    for name, size in (('behind_the_magic', 4), ('in_the_count_of_references', 6), ('in_a_bin', 14),
                       ('in_a_count_of_chunks', 18), ('in_a_chunk', 30), ('in_a_count_of_windows',
                       4 + 4 + len(chr1()) - 10), ('in_a_window', 4 + 4 + len(chr1()) - 3),
                       ('behind_the_first_reference', 4 + 4 + len(chr1()))):
        kind.add(f'cut_{name}', f'the file ends {name}'.replace('_', ' '), WHOLE[:size], **CUT)
    # The count of records without a reference may be missing, but not in part.
    kind.add('cut_in_the_last_count',
             'the file ends inside the count of records without a reference',
             WHOLE[:-4], checks='IndexTrailing')
    kind.add('bytes_behind_the_last_count', 'four bytes stand behind the last count',
             WHOLE + b'more', checks='IndexTrailing')


def add_counts(kind):
    """Counts. An index of another number of references than the header is passed over."""
    nothing = 'IndexRecord IndexReferences'
    kind.add('reference_count_negative', 'n_ref is -1', index(n_ref=-1),
             kxCheck_alone='IndexLength', kxCheck='IndexLength ' + nothing)
    kind.add('reference_count_0', 'n_ref is 0', index(), kxCheck=nothing)
    kind.add('reference_missing', 'the second reference is missing', index(chr1()), kxCheck=nothing)
    kind.add('reference_too_many', 'there is a third reference', index(chr1(), chr2(), entry()),
             kxCheck='IndexReferences')
    kind.add('reference_count_huge', 'n_ref is 2^31 - 1', index(chr1(), chr2(), n_ref=0x7FFFFFFF),
             **CUT)
    negative = dict(every=NOT_BAI, checks='IndexLength')
    for name, count, expected in (('negative', -1, negative), ('huge', 0x7FFFFFFF, CUT)):
        # The file ends behind a huge count, so that nothing else is taken for what it counts.
        kind.add(f'bin_count_{name}', f'n_bin of the second reference is {count}',
                 index(chr1(), i32(count), rest=b''), **expected)
        kind.add(f'chunk_count_{name}', f'n_chunk of a bin of the second reference is {count}',
                 index(chr1(), i32(1) + i32(BIN) + i32(count), rest=b''), **expected)
    kind.add('window_count_negative', 'n_intv of the second reference is -1',
             index(chr1(), i32(0) + i32(-1)), **negative)
    kind.add('window_count_huge', 'n_intv of the second reference is 2^31 - 1',
             index(chr1(), i32(0) + i32(0x7FFFFFFF)), every=BAI_CUT,
             checks='IndexLinear IndexTruncated')


def add_bins_and_chunks(kind):
    """Those of the first reference. Queries of the whole reference ask every bin."""
    first(kind, 'bin_37451', 'there is a bin 37451',
          chr1(chunk_bin(BIN, *OF_CHR1), chunk_bin(37451)), 'IndexBin', 'IndexBin')
    first(kind, 'bin_twice', 'the bin comes twice, with one record each',
          chr1(chunk_bin(BIN, (BEGIN_A, BEGIN_B)), chunk_bin(BIN, (BEGIN_B, BEGIN_C))), 'IndexBin',
          'IndexBin')
    first(kind, 'bin_of_other_positions', 'the bin is that of positions from 16384 on',
          chr1(chunk_bin(BIN + 1, *OF_CHR1)), 'IndexRecord', **NONE_OF_REGION)
    first(kind, 'bin_missing', 'the reference has no bin', entry(METADATA_1, windows=(BEGIN_A,)),
          'IndexRecord', **NO_RECORD)
    first(kind, 'chunk_ends_before_it_begins', 'a chunk ends before it begins',
          chr1(chunk_bin(BIN, (BEGIN_A, 0), *OF_CHR1)), 'IndexChunk', 'IndexChunk')
    first(kind, 'chunk_ends_early', 'the chunk ends before the second record',
          chr1(chunk_bin(BIN, (BEGIN_A, BEGIN_B))), 'IndexRecord', getStartsInReference='ok 1',
          getFeatures='ok 10,0', kxFields='ok 1,1', kxFields_of_20='ok 1',
          kxSamWriteRegions='ok 1', samWrite='ok 1')
    first(kind, 'chunk_of_the_other_reference', 'the chunk is that of the other reference',
          chr1(chunk_bin(BIN, (BEGIN_C, END))), 'IndexRecord', **NO_RECORD)
    first(kind, 'chunk_behind_the_file', 'the chunk lies behind the end of the file',
          chr1(chunk_bin(BIN, (1 << 40, 1 << 41))), 'IndexRecord', every=NOT_BAM)
    first(kind, 'chunk_at_no_block', 'the chunk begins one byte behind the begin of a block',
          chr1(chunk_bin(BIN, (BEGIN_A + (1 << 16), BEGIN_C))), 'IndexRecord IndexChunk',
          every=NOT_BAM)
    # The two are merged, and nothing is entered at the begin of the second one.
    first(kind, 'second_chunk_inside_a_record', 'a second chunk begins inside a record',
          chr1(chunk_bin(BIN, (BEGIN_A, BEGIN_B), (BEGIN_B - 5, BEGIN_C))), 'IndexChunk')
    # The length of a record is read from other bytes and is beyond the file, which seems to end.
    first(kind, 'chunk_inside_a_record', 'the chunk begins inside a record',
          chr1(chunk_bin(BIN, (BEGIN_A + 5, BEGIN_C))), 'IndexRecord IndexChunk', **NO_RECORD)
    first(kind, 'chunk_behind_the_data_of_a_block', 'the chunk begins behind the data of its block',
          chr1(chunk_bin(BIN, (BEGIN_A + 0xFFFF, BEGIN_C))), 'IndexRecord', **NO_RECORD)


def add_metadata_and_windows(kind):
    """The pseudo-bin and the counts are not looked at by readers, the linear index is."""
    first(kind, 'metadata_of_one_chunk', 'the pseudo-bin has one chunk',
          entry(chunk_bin(BIN, *OF_CHR1), chunk_bin(METADATA, (BEGIN_A, BEGIN_C)),
                windows=(BEGIN_A,)),
          'IndexMetadata', 'IndexMetadata')
    first(kind, 'mapped_count', 'the count of mapped records is one more',
          entry(chunk_bin(BIN, *OF_CHR1), chunk_bin(METADATA, (BEGIN_A, BEGIN_C), (3, 0)),
                windows=(BEGIN_A,)),
          'IndexCount')
    first(kind, 'unmapped_count', 'the count of unmapped records is one more',
          entry(chunk_bin(BIN, *OF_CHR1), chunk_bin(METADATA, (BEGIN_A, BEGIN_C), (2, 1)),
                windows=(BEGIN_A,)),
          'IndexCount')
    kind.add('unplaced_count', 'the count of records without a reference is one more',
             index(chr1(), chr2(), rest=u64(2)), kxCheck='IndexCount')
    first(kind, 'windows_step_back', 'a window begins before the one ahead of it',
          chr1(windows=(BEGIN_A, 1 << 16)),
          'IndexLinear', 'IndexLinear')
    first(kind, 'too_many_windows', 'the reference has 32769 windows of which 60 are in the file',
          chr1(windows=(BEGIN_A,) * 60, n_intv=32769), 'IndexLinear IndexTruncated',
          'IndexLinear IndexTruncated', every=BAI_CUT)
    first(kind, 'window_behind_the_records',
          'the window begins behind the records of its reference',
          chr1(windows=(END,)), 'IndexRecord', **NO_RECORD)
    kind.add('references_in_the_other_order', 'the references have changed places',
             index(chr2(), chr1()),
             **NO_RECORD, kxCheck='IndexRecord IndexCount')


def make():
    kind = Kind('bai', 'bai', SOUND, GROUPS)
    for add in (add_magics, add_ends, add_counts, add_bins_and_chunks, add_metadata_and_windows):
        add(kind)
    return kind
