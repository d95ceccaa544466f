"""A broken file, and what each call must make of it."""

OK = 'ok'
NOT_BAM = 'seqlab:readkit:InvalidBAMFormat'
CUT_SHORT = 'seqlab:readkit:BAMRead'
INFLATE = 'seqlab:readkit:ZLIBInflate'
NO_REFERENCE = 'seqlab:readkit:ReferenceIDNotFound'
NO_SUBSET = 'seqlab:readkit:InvalidHeaderSubset'
TOO_BIG = 'seqlab:readkit:PositionTooBig'
UNSORTED = 'seqlab:readkit:BAMUnsorted'
NO_NH = 'seqlab:readkit:AllNHTagsMissing'
TAG_TYPE = 'seqlab:readkit:InvalidTagType'
NOT_SAM = 'seqlab:readkit:InvalidSAMFormat'
NOT_BAI = 'seqlab:readkit:InvalidBAIFormat'
BAI_CUT = 'seqlab:readkit:BAIRead'
BAD_DATA = 'seqlab:scanqualities:InvalidData'
BAD_ALLOC = 'Tessel:cpp:bad_alloc'
BAD_LENGTH = 'Tessel:cpp:length_error'
OUT_OF_RANGE = 'Tessel:cpp:out_of_range'
BAD_NUMBER = 'Tessel:cpp:invalid_argument'

# Nothing to complain about.
NONE = 'none'


class Kind:
    """Files of one kind: the calls that take them, each with what it makes of the sound file.

    `sound` maps each call to its outcome, in the order of the columns of the table. `groups` gives
    names to sets of calls, to be used in the outcomes of a case.
    """

    def __init__(self, folder, ending, sound, groups):
        self.folder = folder
        self.ending = ending
        self.sound = sound
        self.groups = dict(groups, every=[call for call in sound if not call.startswith('kxCheck')])
        self.cases = []

    def add(self, name, broken, data, **outcomes):
        """A file, and the calls that make something else of it than of the sound file.

        Keys of `outcomes` are calls or groups; later ones override earlier ones.
        """
        expected = dict(self.sound)
        for key, outcome in outcomes.items():
            for call in self.groups.get(key, [key]):
                if call not in expected:
                    raise KeyError(f'{name}: there is no call {call}')
                expected[call] = outcome
        if name in [case[0] for case in self.cases]:
            raise ValueError(f'{self.folder}/{name} comes twice')
        self.cases.append((name, broken, bytes(data), expected))

    def files(self):
        return {f'{self.folder}/{name}.{self.ending}': data for name, _, data, _ in self.cases}

    def table(self):
        lines = ['\t'.join(['file', 'broken', *self.sound])]
        for name, broken, _, expected in self.cases:
            file = f'{self.folder}/{name}.{self.ending}'
            lines.append('\t'.join([file, broken, *expected.values()]))
        return ''.join(line + '\n' for line in lines)
