"""Makes the files that the operations read, each when it is first needed, and keeps them.

A file is made anew when something that it is made of changed: the seed, the number of records,
make_reads.py or the file with its recipe. `Inputs.get("m.bam")` makes m.bam and what that needs.
"""

import hashlib
import pathlib
import random
import subprocess
import sys

_HERE = pathlib.Path(__file__).parent
REFERENCES = 5
# Real reads in Debian packages, which are downloaded and unpacked, not installed; the first that
# can be had is taken. Of few reads, copies come near each other, and the sorts and conversions that
# write BAM then have less to compress than real files give them.
SEEDS = (("cnvkit", "./usr/share/doc/cnvkit/examples/test/formats/na12878-chrM-Y-trunc.bam"),
         ("samtools-test", "./usr/share/samtools/test/mpileup/mpileup.1.bam"))
# SAM text keeps sequences of up to 255 bases only.
LONGEST = 255
REGIONS = 1000
REGION_SIZE, REGIONS_APART = 10_000, 11_000
LEFT_OUT = 0x4 | 0x100 | 0x800


class InputError(Exception):
    """An input cannot be made."""


def seed_lines(lines):
    """The seed's lines that are multiplied: @SQ, and records that can go everywhere.

    Left out are records without a place, secondary and supplementary ones, those without bases,
    qualities or a CIGAR, and long ones; of the optional fields only NM stays.
    """
    for line in lines:
        if line.startswith("@"):
            if line.startswith("@SQ"):
                yield line
            continue
        fields = line.rstrip("\n").split("\t")
        if int(fields[1]) & LEFT_OUT or "*" in (fields[2], fields[5], fields[9], fields[10]):
            continue
        if len(fields[9]) <= LONGEST:
            kept = fields[:11] + [field for field in fields[11:] if field.startswith("NM:i:")]
            yield "\t".join(kept) + "\n"


def shuffled(lines):
    """Header lines, then record lines in an order that is always the same one."""
    header = [line for line in lines if line.startswith(b"@")]
    records = [line for line in lines if not line.startswith(b"@")]
    random.Random(7).shuffle(records)
    return [line.replace(b"SO:coordinate", b"SO:unsorted") for line in header] + records


def shuffle_file(text, out):
    """Shuffles a SAM file; `out` may be the same one."""
    lines = shuffled(text.read_bytes().splitlines(keepends=True))
    with open(out, "wb") as stream:
        stream.writelines(lines)


def fastq_lines(lines):
    """SAM record lines as FASTQ, bases as they stand."""
    for line in lines:
        if not line.startswith(b"@"):
            fields = line.rstrip(b"\n").split(b"\t", 11)
            yield b"@%b\n%b\n+\n%b\n" % (fields[0], fields[9], fields[10])


class Inputs:
    """The folder of inputs. `seed` is a BAM file, or None for the one of the package."""

    def __init__(self, folder, records, large, seed=None):
        self.folder = pathlib.Path(folder)
        self._seed = pathlib.Path(seed).resolve() if seed else None
        self._records = records
        self._large = large
        seed_of = hashlib.sha256(self._seed.read_bytes()).hexdigest() if seed else str(SEEDS)
        self._made_of = [seed_of, (_HERE / "make_reads.py").read_text()]
        self._recipes = dict(_RECIPES)
        self._current = set()
        self.folder.mkdir(parents=True, exist_ok=True)

    def add_recipes(self, recipes):
        """More files that can be made, by name: functions of an Inputs and the path."""
        self._recipes.update(recipes)

    def _stamp(self, name):
        """What changes when a file must be made anew."""
        source = pathlib.Path(self._recipes[name].__code__.co_filename).read_text()
        made_of = hashlib.sha256("\n".join([*self._made_of, source]).encode()).hexdigest()
        count = self._large if "large" in name else self._records
        return f"{made_of} {'' if name.startswith('seed') else count}\n"

    def get(self, name):
        """The path of an input, which is there and current afterwards."""
        path = self.folder / name
        if name in self._current:
            return path
        stamp = self.folder / f"{name}.stamp"
        wanted = self._stamp(name)
        if not (path.exists() and stamp.exists() and stamp.read_text() == wanted):
            print(f"== Making {path}", flush=True)
            stamp.unlink(missing_ok=True)
            self._recipes[name](self, path)
            stamp.write_text(wanted)
        self._current.add(name)
        return path

    def describe(self):
        """Where the reads come from and how well the copies stand for them, for the report."""
        source = self.get("seed.bam").with_name("seed.source").read_text().strip()
        # The copies of neighbours are no neighbours, so it is the seed in random order that counts.
        in_order = self._bytes_per_base("seed.reads.bam", "seed.sam")
        seed = self._bytes_per_base("seed.mixed.bam", "seed.sam")
        copies = self._bytes_per_base("m.bam", "m.sam")
        return {"source": source, "records": self._records, "large": self._large,
                "seed_bytes_per_base": seed, "seed_bytes_per_base_in_order": in_order,
                "bytes_per_base": copies, "ratio": copies / seed,
                "sizes": {name: self.get(name).stat().st_size for name in ("m.bam", "m.sam")}}

    def _bytes_per_base(self, bam, sam):
        """Bytes of a BAM file, but for those of its header, by base."""
        path, bases = self.get(bam), 0
        with open(self.get(sam), "rb") as lines:
            for line in lines:
                if not line.startswith(b"@"):
                    bases += len(line.split(b"\t", 10)[9])
        header = len(samtools("view", "-b", "-h", "-e", "0", str(path)))
        return (path.stat().st_size - header) / bases

    def header_size(self, name):
        """The bytes of a file's header text; 0 for files that have none."""
        if name.endswith(".fastq"):
            return 0
        return len(samtools("view", "-H", "--no-PG", str(self.get(name))))

    def make_seed(self, path):
        """The BAM file of a package, or the one that was given."""
        source = path.with_name("seed.source")
        if self._seed:
            path.write_bytes(self._seed.read_bytes())
            source.write_text(self._seed.name + "\n")
            return
        faults = []
        for package, file in SEEDS:
            try:
                path.write_bytes(self._unpacked(package, file))
                source.write_text(f"{file.rpartition('/')[2]} of the Debian package {package}\n")
                return
            except (OSError, InputError, StopIteration) as error:
                faults.append(str(error))
        raise InputError(f"no real reads ({'; '.join(faults)}); name a BAM file with --seed")

    def _unpacked(self, package, file):
        """A file of a package that is downloaded for it."""
        for old in self.folder.glob(f"{package}_*.deb"):
            old.unlink()
        run(["apt-get", "-q", "-o", "APT::Sandbox::User=root", "download", package],
            cwd=self.folder)
        archive = next(self.folder.glob(f"{package}_*.deb"))
        tar = run(["dpkg-deb", "--fsys-tarfile", str(archive)])
        archive.unlink()
        return run(["tar", "-xOf", "-", file], input=tar)

    def make_seed_sam(self, path):
        """The seed's reads that are multiplied, as text."""
        text = samtools("view", "-h", str(self.get("seed.bam"))).decode("ascii")
        path.write_text("".join(seed_lines(text.splitlines(keepends=True))), encoding="ascii")

    def make_reads(self, path, count):
        """A sorted SAM file of so many records."""
        with open(path, "wb") as out:
            run([sys.executable, str(_HERE / "make_reads.py"), str(self.get("seed.sam")),
                 str(count), str(REFERENCES)], stdout=out)

    def make_sorted(self, path):
        """m.sam"""
        self.make_reads(path, self._records)

    def make_shuffled(self, path):
        """u.sam"""
        shuffle_file(self.get("m.sam"), path)

    def make_large(self, path):
        """u-large.bam; the text that it is made of does not stay."""
        text = self.folder / "u-large.sam"
        self.make_reads(text, self._large)
        shuffle_file(text, text)
        to_bam(text, path)
        text.unlink()

    def make_fastq(self, path):
        """m.fastq, bases as they stand in m.sam"""
        with open(self.get("m.sam"), "rb") as lines, open(path, "wb") as out:
            out.writelines(fastq_lines(lines))

    def make_tiny(self, path):
        """tiny.bam, a file of one reference and no record"""
        text = path.with_suffix(".sam")
        text.write_text("@SQ\tSN:chr1\tLN:1000\n", encoding="ascii")
        to_bam(text, path)
        text.unlink()

    def make_regions(self, path):
        """regions.bed"""
        with open(self.get("m.sam"), encoding="ascii") as lines:
            references = reference_lengths(lines)
        count = min(REGIONS, most_regions(references))
        path.write_text("".join(random_regions(references, count)), encoding="ascii")


def reference_lengths(lines):
    """(name, length) of the references of SAM text."""
    found = []
    for line in lines:
        if not line.startswith("@"):
            break
        if line.startswith("@SQ"):
            fields = dict(field.split(":", 1) for field in line.rstrip("\n").split("\t")[1:])
            found.append((fields["SN"], int(fields["LN"])))
    return found


def most_regions(references):
    """How many regions tries at random find easily: half of the room is left then."""
    return sum(length - REGION_SIZE for _, length in references) // (2 * REGIONS_APART)


def random_regions(references, count):
    """Lines of a BED file: regions of 10 kb in the order of the references, always the same ones.

    There are a thousand positions at least between two of them, so that no record of these inputs
    lies in both, where programs differ in whether it comes twice.
    """
    size, apart = REGION_SIZE, REGIONS_APART
    if count > most_regions(references):
        raise InputError(f"no room for {count} regions")
    rng = random.Random(11)
    taken = {}
    while len(taken) < count:
        number = rng.randrange(len(references))
        start = rng.randrange(references[number][1] - size)
        cell = start // apart
        # Two regions too near each other lie in the same cell or in neighbouring ones.
        if not any(abs(taken[near] - start) < apart for near in
                   ((number, cell + step) for step in (-1, 0, 1)) if near in taken):
            taken[number, cell] = start
    for (number, _), start in sorted(taken.items()):
        yield f"{references[number][0]}\t{start}\t{start + size}\n"


def run(argv, **options):
    """Runs a command that must succeed; what it prints."""
    options.setdefault("stdout", subprocess.PIPE)
    ran = subprocess.run(argv, stderr=subprocess.PIPE, check=False, **options)
    if ran.returncode != 0:
        words = ran.stderr.decode(errors="replace").strip()[-400:]
        raise InputError(f"{' '.join(argv[:3])} ended with status {ran.returncode}: {words}")
    return ran.stdout


def samtools(*arguments):
    """What samtools prints."""
    return run(["samtools", *arguments])


def to_bam(text, bam):
    """Makes a BAM file of SAM text; no @PG line, so the same text gives the same file."""
    samtools("view", "-b", "--no-PG", "-o", str(bam), str(text))


_RECIPES = {
    "seed.bam": Inputs.make_seed,
    "seed.sam": Inputs.make_seed_sam,
    "seed.reads.bam": lambda self, path: to_bam(self.get("seed.sam"), path),
    "seed.mixed.sam": lambda self, path: shuffle_file(self.get("seed.sam"), path),
    "seed.mixed.bam": lambda self, path: to_bam(self.get("seed.mixed.sam"), path),
    "m.sam": Inputs.make_sorted,
    "m.bam": lambda self, path: to_bam(self.get("m.sam"), path),
    "m.bam.bai": lambda self, path: samtools("index", str(self.get("m.bam")), str(path)),
    "m.fastq": Inputs.make_fastq,
    "tiny.bam": Inputs.make_tiny,
    "regions.bed": Inputs.make_regions,
    "u.sam": Inputs.make_shuffled,
    "u.bam": lambda self, path: to_bam(self.get("u.sam"), path),
    "u-large.bam": Inputs.make_large,
}
