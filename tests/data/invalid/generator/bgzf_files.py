"""Broken blocks: the sound BAM file in three blocks (header; a and b; c and d) and the marker.

The readers stop where a block cannot be read; functions that read the header alone do not come to
what lies behind its block. CRC-32 and ISIZE are for kxCheck to verify.
"""
import zlib

from . import bam_files
from .cases import CUT_SHORT, INFLATE, NONE, NOT_BAM, Kind
from .formats import A, B, C, D, MARKER, Bits, block, header, stored, u16

HEAD = header()
FIRST = block(HEAD)
MIDDLE = A + B
SECOND = block(MIDDLE)
LAST = block(C + D)

NO_BLOCK = dict(records=NOT_BAM, kxCheck='BlockHeader RecordsLost')
# What readers give who come to the records a and b only, and to c and d only.
ONLY_A_AND_B = dict(
    bamInfo='ok sorted 0,2', getFeatureCountData='ok 2', samWriteUnaligned='ok 0',
    to_bam='ok 2', to_sam='ok 2', to_fastq='ok 2', to_fasta='ok 2', bamSort='ok 2',
    kxBamShuffleSeeded='ok 2', scanQualities='ok 2')


def file(middle, *, first=FIRST, last=LAST, marker=MARKER):
    return first + middle + last + marker


def refused_by_zlib(deflated):
    """The stream, which must not be one together with the 8 bytes behind it either."""
    decoder = zlib.decompressobj(-15)
    try:
        size = len(decoder.decompress(deflated + bytes(8), 1 << 17))
    except zlib.error:
        return deflated
    assert not decoder.eof or size > 1 << 16, 'this stream is sound'
    return deflated


def dynamic(lengths, hlit=None, hdist=0):
    """A dynamic block's header with code lengths for the code length code, in its order."""
    bits = Bits().put(1, 1).put(2, 2).put(29 if hlit is None else hlit, 5).put(hdist, 5)
    bits.put(len(lengths) - 4, 4)
    for length in lengths:
        bits.put(length, 3)
    return bits


def streams():
    """Deflate streams that are none, by the way in which they are broken."""
    fixed = lambda: Bits().put(1, 1).put(1, 2)  # noqa: E731
    whole = stored(MIDDLE)
    too_long = fixed().literal(0)
    for _ in range(254):
        too_long.literal(285).code(0, 5)  # 258 bytes, 1 back
    too_long.literal(257).code(0, 5).literal(257).code(0, 5).literal(256)
    # Lengths of 1 for 0 and for 8 alone: two codes of one bit.
    two_codes = [0, 0, 0, 1, 1]
    no_end = dynamic(two_codes, 0)
    for _ in range(257 + 1):
        no_end.code(0, 1)
    match = lambda: fixed().literal(65).literal(257)  # noqa: E731
    return {
        'block_type_3': ('the type of the deflate block is 3', bytes([7]) + whole[1:]),
        'stored_length_check': ('LEN and NLEN of a stored deflate block do not match',
                                whole[:3] + u16(0) + whole[5:]),
        'no_last_deflate_block': ('no deflate block is marked as the last one',
                                  stored(MIDDLE, 0) + b'\6'),
        'data_cut_short': ('the stored deflate block has fewer bytes than its LEN',
                           whole[:len(whole) // 2]),
        'distance_too_far': ('a match begins before the data',
                             match().code(4, 5).put(0, 1).literal(256).bytes()),
        'distance_code_30': ('a match has a distance code that does not exist',
                             match().code(30, 5).literal(256).bytes()),
        'length_code_286': ('a match has a length code that does not exist',
                            fixed().literal(65).literal(286).literal(256).bytes()),
        'no_end_of_data': ('the end-of-data code is missing',
                           fixed().literal(65).literal(65).literal(0).put(0x7F, 7).bytes() * 2),
        'more_than_64_KiB': ('the block inflates to 65537 bytes', too_long.bytes()),
        'code_lengths_over_subscribed': ('a dynamic block has four code length codes of one bit',
                                         dynamic([1, 1, 1, 1]).put(0, 30).bytes()),
        'code_lengths_incomplete': ('a dynamic block has one code length code, of three bits',
                                    dynamic([3, 0, 0, 0]).put(0, 30).bytes()),
        'too_many_length_codes': ('a dynamic block has 288 length codes',
                                  dynamic([0, 0, 0, 1, 1], 31).put(0, 30).bytes()),
        'repeat_without_a_length': ('the first code length of a dynamic block is a repetition',
                                    dynamic([1, 0, 0, 1]).code(1, 1).put(0, 30).bytes()),
        'no_code_for_the_end': ('a dynamic block has no code for its end', no_end.bytes()),
    }


def add_headers(kind):
    """A header that is not that of a block."""
    for name, broken, offset, value in (
            ('id1', 'ID1 is not 31', 0, 0x1E), ('id2', 'ID2 is not 139', 1, 0x8C),
            ('cm', 'CM is not 8', 2, 7), ('flg_without_fextra', 'FLG lacks FEXTRA', 3, 0),
            ('xlen_0', 'XLEN is 0', 10, 0), ('xlen_7', 'XLEN is 7', 10, 7),
            ('xlen_high_byte', 'XLEN is 262', 11, 1), ('si1', 'SI1 is not B', 12, 0x43),
            ('si2', 'SI2 is not C', 13, 0x42), ('slen_3', 'SLEN is 3', 14, 3),
            ('slen_high_byte', 'SLEN is 258', 15, 1)):
        kind.add(name, broken, file(block(MIDDLE, change={offset: value})), **NO_BLOCK)
    extra = MARKER[:10] + u16(12) + b'XXXX'[:2] + u16(2) + b'ab' + b'BC' + u16(2)
    extra += u16(len(SECOND) + 5) + SECOND[18:]
    kind.add('another_subfield', 'a subfield of the extra field stands before BC', file(extra),
             **NO_BLOCK)
    # Flags are not looked at, beyond FEXTRA.
    for name, broken, flags in (('ftext', 'FLG has FTEXT', 5), ('fhcrc', 'FLG has FHCRC', 6),
                                ('fname', 'FLG has FNAME', 0x0C),
                                ('fcomment', 'FLG has FCOMMENT', 0x14),
                                ('reserved_flag', 'FLG has a reserved bit', 0x84)):
        kind.add(name, broken, file(block(MIDDLE, change={3: flags})), kxCheck='BlockHeader')


def add_sizes(kind):
    """Below 17 there is no room for the header; up to 25 the trailer is data."""
    kind.add('bsize_0', 'BSIZE is 0', file(block(MIDDLE, bsize=0)), **NO_BLOCK)
    kind.add('bsize_16', 'BSIZE is 16', file(block(MIDDLE, bsize=16)), **NO_BLOCK)
    for bsize in (17, 25):
        kind.add(f'bsize_{bsize}', f'BSIZE is {bsize}, no room for data',
                 file(block(MIDDLE, bsize=bsize)), records=INFLATE,
                 kxCheck='BlockHeader RecordsLost')
    # One byte less or more: the next block is not where it should be. Readers take what is behind
    # the header for data, the trailer too; kxCheck what is between header and trailer.
    for name, by, found in (('less', -1, 'BlockData BlockHeader RecordsLost'),
                            ('more', 1, 'BlockCRC BlockHeader')):
        kind.add(f'bsize_one_{name}', f'BSIZE is one {name} than it should be',
                 file(block(MIDDLE, bsize=len(SECOND) - 1 + by)), records=NOT_BAM, kxCheck=found)
    kind.add('bsize_beyond_the_file', 'BSIZE is 65535', file(block(MIDDLE, bsize=0xFFFF)),
             records=CUT_SHORT, kxCheck='BlockHeader RecordsLost')
    kind.add('bsize_takes_in_the_next_block', 'BSIZE is that of this block and the next one',
             file(block(MIDDLE, bsize=len(SECOND) + len(LAST) - 1)), **ONLY_A_AND_B,
             kxCheck='BlockCRC')


def add_trailers(kind):
    kind.add('crc', 'the CRC-32 has a wrong bit', file(block(MIDDLE, crc=zlib.crc32(MIDDLE) ^ 1)),
             kxCheck='BlockCRC')
    kind.add('crc_0', 'the CRC-32 is 0', file(block(MIDDLE, crc=0)), kxCheck='BlockCRC')
    kind.add('crc_of_the_marker', 'the marker has a CRC-32 of 1',
             file(SECOND, marker=block(deflated=b'\3\0', crc=1)), kxCheck='BlockCRC EndMarker')
    kind.add('isize', 'ISIZE is one more', file(block(MIDDLE, isize=len(MIDDLE) + 1)),
             kxCheck='BlockLength')
    kind.add('isize_0', 'ISIZE is 0', file(block(MIDDLE, isize=0)), kxCheck='BlockLength')
    kind.add('isize_4_GiB', 'ISIZE is 2^32 - 1', file(block(MIDDLE, isize=0xFFFFFFFF)),
             kxCheck='BlockLength')
    kind.add('data', 'a quality of the record b is another one',
             file(block(MIDDLE, deflated=stored(MIDDLE[:-5] + b'\x27' + MIDDLE[-4:]))),
             kxCheck='BlockCRC')


def add_data(kind):
    for name, (broken, deflated) in streams().items():
        kind.add(name, broken, file(block(MIDDLE, deflated=refused_by_zlib(deflated))),
                 records=INFLATE, kxCheck='BlockData RecordsLost')
    kind.add('no_data', 'the block has no byte of data', file(block(MIDDLE, deflated=b'')),
             records=INFLATE, kxCheck='BlockHeader RecordsLost')
    kind.add('bytes_behind_the_data', 'four bytes stand between the data and the trailer',
             file(block(MIDDLE, deflated=stored(MIDDLE) + b'junk')), kxCheck=NONE)


def add_first_blocks(kind):
    """Nothing can be read at all."""
    for name, broken, first, error, found in (
            ('first_block_id1', 'ID1 of the first block is not 31', block(HEAD, change={0: 0}),
             NOT_BAM, 'BlockHeader HeaderTruncated RecordsLost'),
            ('first_block_data', 'the deflate block of the first block is of type 3',
             block(HEAD, change={18: 7}), INFLATE, 'BlockData HeaderTruncated RecordsLost'),
            ('bytes_before_the_first_block', 'five bytes stand before the first block',
             b'bytes' + FIRST, NOT_BAM, 'BlockHeader HeaderTruncated RecordsLost')):
        kind.add(name, broken, file(SECOND, first=first), every=error, kxCheck=found)


def add_ends(kind):
    whole = file(SECOND)
    kind.add('cut_in_a_block_header', 'the file ends 10 bytes into the last block with records',
             FIRST + SECOND + LAST[:10], records=NOT_BAM, kxCheck='BlockTruncated RecordsLost')
    kind.add('cut_in_data', 'the file ends inside the data of a block', FIRST + SECOND + LAST[:60],
             records=CUT_SHORT, kxCheck='BlockTruncated RecordsLost')
    kind.add('cut_in_the_trailer', 'the file ends inside the trailer of a block',
             FIRST + SECOND + LAST[:-3], records=CUT_SHORT, kxCheck='BlockTruncated RecordsLost')
    kind.add('cut_in_the_header_of_the_marker', 'the file ends 10 bytes into the marker',
             whole[:-18],
             records=NOT_BAM, **bam_files.NOT_READ, kxCheck='BlockTruncated RecordsLost')
    kind.add('cut_in_the_marker', 'the file ends one byte before the end of the marker', whole[:-1],
             records=CUT_SHORT, **bam_files.NOT_READ, kxCheck='BlockTruncated RecordsLost')
    kind.add('cut_in_the_first_block', 'the file ends inside the first block', FIRST[:40],
             every=CUT_SHORT, kxCheck='BlockTruncated HeaderTruncated RecordsLost')
    kind.add('cut_behind_a_block', 'the file ends behind its second block', FIRST + SECOND,
             records=NOT_BAM, kxCheck='EndMarker')
    kind.add('no_marker', 'the marker is missing', file(SECOND, marker=b''), records=NOT_BAM,
             **bam_files.NOT_READ, kxCheck='EndMarker')
    kind.add('marker_before_the_last_block', 'the marker stands before the last block',
             FIRST + SECOND + MARKER + LAST, kxCheck='EndMarker')
    kind.add('another_marker', 'the last block is empty but has a time',
             file(SECOND, marker=block(deflated=b'\3\0', change={4: 1})), kxCheck='EndMarker')
    kind.add('bytes_behind_the_marker', 'five bytes stand behind the marker', whole + b'bytes',
             records=NOT_BAM, **bam_files.NOT_READ, kxCheck='BlockTruncated RecordsLost')
    kind.add('many_bytes_behind_the_marker', '40 bytes stand behind the marker',
             whole + b'bytes' * 8,
             records=NOT_BAM, **bam_files.NOT_READ, kxCheck='BlockHeader EndMarker RecordsLost')
    kind.add('bytes_between_blocks', 'five bytes stand between two blocks',
             file(SECOND + b'bytes'), **NO_BLOCK)
    kind.add('only_the_marker', 'the file has the marker and nothing else', MARKER, every=CUT_SHORT,
             kxCheck='HeaderTruncated')

    kind.add('one_byte', 'the file ends behind its first byte', FIRST[:1], every=NOT_BAM,
             kxCheck='BlockTruncated HeaderTruncated RecordsLost')


def add_other_files(kind):
    gzip = bytes([0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 0xFF]) + stored(HEAD) + SECOND[-8:]
    for name, broken, data in (('empty', 'the file is empty', b''),
                               ('plain_gzip', 'the file is gzip without blocks', gzip),
                               ('not_compressed', 'the content is not compressed', HEAD + MIDDLE)):
        kind.add(name, broken, data, every=NOT_BAM, kxCheck='UnknownKind')


def make():
    kind = Kind('bgzf', 'bam', bam_files.SOUND, bam_files.GROUPS)
    for add in (add_headers, add_sizes, add_trailers, add_data, add_first_blocks, add_ends,
                add_other_files):
        add(kind)
    return kind
