"""Blocks, records and files, byte by byte; no compressor is used, so that the bytes never vary."""
import struct
import zlib

MARKER = bytes.fromhex('1f8b08040000000000ff0600424302001b0003000000000000000000')


def u16(number):
    return struct.pack('<H', number & 0xFFFF)


def i32(number):
    return struct.pack('<I', number & 0xFFFFFFFF)


def u64(number):
    return struct.pack('<Q', number)


# ---- Blocks ------------------------------------------------------------------------------------

def stored(data, final=1):
    """A deflate stream of one stored block."""
    return bytes([final]) + u16(len(data)) + u16(~len(data)) + data


class Bits:
    """Fields from the lowest bit on, Huffman codes from their highest bit on."""

    def __init__(self):
        self.number = 0
        self.size = 0

    def put(self, value, size):
        self.number |= value << self.size
        self.size += size
        return self

    def code(self, value, size):
        return self.put(int(f'{value:0{size}b}'[::-1], 2), size)

    def literal(self, symbol):
        """A literal or length symbol of the fixed codes."""
        if symbol < 144:
            return self.code(0x30 + symbol, 8)
        if symbol < 256:
            return self.code(0x190 + symbol - 144, 9)
        if symbol < 280:
            return self.code(symbol - 256, 7)
        return self.code(0xC0 + symbol - 280, 8)

    def bytes(self):
        return self.number.to_bytes((self.size + 7) // 8, 'little')


def block(data=b'', *, deflated=None, crc=None, isize=None, bsize=None, change=None):
    """A BGZF block; `change` maps offsets in it to other bytes."""
    if deflated is None:
        deflated = stored(data)
    bsize = len(deflated) + 25 if bsize is None else bsize
    header = MARKER[:16] + u16(bsize)
    trailer = i32(zlib.crc32(data) if crc is None else crc)
    trailer += i32(len(data) if isize is None else isize)
    whole = bytearray(header + deflated + trailer)
    for offset, value in (change or {}).items():
        whole[offset] = value
    return bytes(whole)


# ---- BAM ---------------------------------------------------------------------------------------

TEXT = '@HD\tVN:1.6\tSO:coordinate\n@SQ\tSN:chr1\tLN:1000\n@SQ\tSN:chr2\tLN:500\n'
REFERENCES = (('chr1', 1000), ('chr2', 500))


def reference(name, length):
    stored_name = name.encode() + b'\0'
    return i32(len(stored_name)) + stored_name + i32(length)


def header(text=TEXT, references=REFERENCES, *, magic=b'BAM\1', l_text=None, n_ref=None, tail=None):
    """The binary header; `tail` stands in the place of the dictionary's entries."""
    stored_text = text.encode()
    entries = b''.join(reference(*one) for one in references) if tail is None else tail
    return (magic + i32(len(stored_text) if l_text is None else l_text) + stored_text +
            i32(len(references) if n_ref is None else n_ref) + entries)


def reg2bin(beg, end):
    end -= 1
    for shift, first in ((14, 4681), (17, 585), (20, 73), (23, 9), (26, 1)):
        if beg >> shift == end >> shift:
            return first + (beg >> shift)
    return 0


LETTERS = '=ACMGRSVTWYHKDBN'
OPS = 'MIDNSHP=X'


def cigar(text):
    """Words of ops: '3M1D' is [(3, 'M'), (1, 'D')]; '?' stands for code 9."""
    words, digits = [], ''
    for letter in text:
        if letter.isdigit():
            digits += letter
            continue
        words.append(int(digits) << 4 | (9 if letter == '?' else OPS.index(letter)))
        digits = ''
    return words


NH = b'NHC\1'


def record(name=b'a', ref=0, pos=9, *, mapq=60, flag=0, ops='4M', seq='ACGT', quals=None,
           mate=(-1, -1), tags=NH, stored_name=None, l_read_name=None, n_cigar=None, l_seq=None,
           size=None, stored_bin=None):
    """A record, with its length word. Fields that are not given are those of the others' bytes."""
    words = cigar(ops)
    codes = [LETTERS.index(letter) for letter in seq]
    packed = bytes(codes[i] << 4 | (codes[i + 1] if i + 1 < len(codes) else 0)
                   for i in range(0, len(codes), 2))
    quals = bytes([40] * len(seq)) if quals is None else bytes(quals)
    span = sum(word >> 4 for word in words if 0x18D >> (word & 15) & 1)
    if stored_bin is None:
        # A position that no bin has room for, and none at all.
        stored_bin = reg2bin(pos, pos + max(span, 1)) if -1 <= pos < 1 << 29 else 0
    stored_name = name + b'\0' if stored_name is None else stored_name
    body = i32(ref) + i32(pos)
    body += bytes([len(stored_name) if l_read_name is None else l_read_name, mapq])
    body += u16(stored_bin) + u16(len(words) if n_cigar is None else n_cigar) + u16(flag)
    body += i32(len(seq) if l_seq is None else l_seq) + i32(mate[0]) + i32(mate[1]) + i32(0)
    body += stored_name + b''.join(i32(word) for word in words) + packed + quals + tags
    return i32(len(body) if size is None else size) + body


# The records of the sound file. Two lie on the first reference, one on the second one, one on none.
A = record()
B = record(b'b', 0, 19, ops='3M1D1M')
C = record(b'c', 1, 29)
D = record(b'd', -1, -1, mapq=0, flag=4, ops='', seq='AC')
