"""How large the fast flavour's files are, compared with the exact flavour's, which are zlib's."""

import hashlib

from commands import convert
from measuring import RunFailed, measure

NAME = "sizes"
REACH = 1.01
FILES = ("m.bam", "u.bam", "seed.bam")


def measured(bench, given):
    """Converts every file to BAM with both flavours and adds up what comes out.

    The files are those of the benchmarks and the BAM files of the folder `given.real`.
    """
    paths = [bench.inputs.get(name) for name in FILES]
    if given.real:
        paths += sorted(given.real.resolve().rglob("*.bam"))
    files, skipped = [], []
    for path in distinct(paths):
        try:
            fast, exact = (_size(bench, path, flavour) for flavour in ("fast", "exact"))
            files.append({"name": path.name, "fast": fast, "exact": exact})
        except RunFailed:
            skipped.append(path.name)
    return {"files": files, "skipped": skipped, "ratio": ratio(files), "reach": REACH}


def _size(bench, path, flavour):
    out = f"out/{flavour}"
    words = bench.programs.words(convert(str(path), "bam", "bam", flavour), out)
    measure(words, bench.inputs.folder, out, bench.core)
    return (bench.inputs.folder / out / "result.bam").stat().st_size


def distinct(paths):
    """The files without those whose content has come before, so that none counts twice."""
    seen = set()
    for path in paths:
        digest = hashlib.sha256(path.read_bytes()).digest()
        if digest not in seen:
            seen.add(digest)
            yield path


def ratio(files):
    """The fast flavour's bytes for each of the exact one's; None without any."""
    exact = sum(file["exact"] for file in files)
    return sum(file["fast"] for file in files) / exact if exact else None


def failed(found):
    """A reason where nothing could be compared."""
    return [] if found["files"] else ["sizes: no file could be converted"]


def markdown(found):
    """The section."""
    if not found["files"]:
        return "\n## Size\n\nNo file could be converted.\n"
    text = [f"\n## Size\n\nBAM files of the fast flavour are {found['ratio']:.4f} times as large "
            f"as those of the exact one, all in all (at most {found['reach']:.2f}: "
            f"{'met' if found['ratio'] <= found['reach'] else 'missed'}), over "
            f"{len(found['files'])} files.\n\n| File | exact | fast | Ratio |\n"
            "| --- | --- | --- | --- |\n"]
    largest = sorted(found["files"], key=lambda file: -file["exact"])[:10]
    text += [f"| {file['name']} | {file['exact']:,} | {file['fast']:,} | "
             f"{file['fast'] / file['exact']:.4f} |\n" for file in largest]
    rest = len(found["files"]) - len(largest)
    if rest:
        text.append(f"\n{rest} smaller ones are in results.json.\n")
    if found["skipped"]:
        text.append(f"\nLeft out, since they cannot be converted: {', '.join(found['skipped'])}.\n")
    return "".join(text)
