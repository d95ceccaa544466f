#!/usr/bin/env python3
"""Writes the broken files and the tables of what is to be made of them.

generate.py [--check]: with --check nothing is written; the exit status is 1 when a file is not what
would be written, is missing, or is one too many.
"""
import pathlib
import sys

from generator import bai_files, bam_files, bgzf_files, fastq_files, sam_files
from generator.formats import MARKER

HERE = pathlib.Path(__file__).resolve().parent


def everything():
    sound = bgzf_files.file(bgzf_files.SECOND)
    assert sound.endswith(MARKER)
    files = {'sound.bam': sound}
    for kind in (bgzf_files.make(), bam_files.make(), bai_files.make(), sam_files.make(),
                 fastq_files.make()):
        files.update(kind.files())
        files[f'{kind.folder}.tsv'] = kind.table().encode()
    return files


def committed():
    """What lies here beside the generator and README.md."""
    return {str(path.relative_to(HERE)): path.read_bytes()
            for pattern in ('*.tsv', '*.bam', '*/*.bam', '*/*.bai', '*/*.sam', '*/*.fastq')
            for path in HERE.glob(pattern)}


def main(arguments):
    files = everything()
    found = committed()
    if arguments == ['--check']:
        differing = [name for name in {**files, **found} if files.get(name) != found.get(name)]
        for name in sorted(differing):
            print(f'{name}: is not what generate.py writes', file=sys.stderr)
        return 1 if differing else 0
    if arguments:
        print(__doc__, file=sys.stderr)
        return 2
    for name in found.keys() - files.keys():
        (HERE / name).unlink()
    for name, data in files.items():
        (HERE / name).parent.mkdir(exist_ok=True)
        (HERE / name).write_bytes(data)
    sizes = [len(data) for data in files.values()]
    print(f'{len(sizes)} files, {sum(sizes)} bytes')
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
