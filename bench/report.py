"""Writes results.md and the table on the terminal."""

import memory
import rows

HEAD = ("Operation", "Peer", "readkit s", "peer s", "Ratio", "Reach", "CPU ratio", "readkit MiB",
        "peer MiB", "Memory, MB", "Result")
NOTHING = "–"


def number(value, digits):
    """A number, or a dash for none."""
    return NOTHING if value is None else f"{value:.{digits}f}"


def table(results):
    """The table's lines, as lists of cells: one for each peer of each row."""
    lines = []
    for row in results["rows"]:
        peers = row.get("peers") or {row["peer"]: {}}
        for name, theirs in peers.items():
            first = name == row["peer"]
            ours = row.get("readkit", {})
            lines.append([
                row["title"] if first else "", name,
                number(ours.get("wall"), 3), number(theirs.get("wall"), 3),
                number(theirs.get("ratio"), 2), number(row["reach"], 2) if first else "",
                number(theirs.get("cpu_ratio"), 2), mebibytes(ours.get("peak")),
                mebibytes(theirs.get("peak")),
                memory.shown(row.get("memory")) if first else "", row["result"] if first else ""])
    return lines


def mebibytes(kibibytes):
    """Memory as it stands in the table."""
    return number(None if kibibytes is None else kibibytes / 1024, 1)


def as_text(results):
    """The table for a terminal."""
    lines = [list(HEAD), *table(results)]
    widths = [max(len(line[i]) for line in lines) for i in range(len(HEAD))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()
                     for line in lines) + "\n" + "".join(reasons(results))


def reasons(results):
    """A line for each row that failed or was left out, and for peers that are not installed."""
    for row in results["rows"]:
        if "why" in row:
            yield f"{row['title']}: {row['result']}: {row['why']}\n"
        for name, why in row.get("differing", {}).items():
            yield f"{row['title']}: the answer of {name} differs: {' '.join(why.split())[:200]}\n"
        for name in row.get("absent", ()):
            if name != row["peer"]:
                yield f"{row['title']}: without {name}, which is not installed\n"


def as_markdown(results):
    """The report up to the table and what is to be said of its rows."""
    machine, inputs = results["machine"], results["inputs"]
    text = [
        "# Against other tools\n\n",
        f"Measured on {results['date']}: {machine['cpu']}, {machine['cores']} cores, "
        f"Linux {machine['kernel']}, {machine['memory']} of memory. Whole processes on core "
        f"{results['core']}, files in the page cache; medians of {results['rounds']} rounds in "
        "which the sides took turns. The ratio is the median of the rounds' ratios of wall time, "
        "below 1 where readkit is faster.\n\n",
        f"Inputs: {inputs['records']:,} records (large: {inputs['large']:,}) made of "
        f"{inputs['source']}; {inputs['bytes_per_base']:.3f} bytes of BAM for a base, "
        f"{inputs['ratio']:.3f} times those of the seed.\n\n",
        "Memory: what is compared with the most that there may be. Scans, conversions and indexing "
        f"count above {results['start'] / 1024:.1f} MiB, the peak of a call that does next to "
        "nothing, and may take 8 MB plus the header and the index; a scan of FASTQ may have 20 MB "
        f"in all, a sort 1.1 times its peer's peak. Peaks below {mebibytes(results['floor'])} MiB "
        "cannot be told from that.\n\n",
        "| " + " | ".join(HEAD) + " |\n", "|" + " --- |" * len(HEAD) + "\n"]
    text += ["| " + " | ".join(line) + " |\n" for line in table(results)]
    text += ["\n", *(f"- {line}" for line in reasons(results))]
    missed = memory.missed(results)
    if missed:
        text.append(f"- Too much memory: {', '.join(missed)}.\n")
    return "".join(text)


def commands(results):
    """The end of the report: versions, and the commands of every row."""
    text = ["\n## Programs\n\n| Program | Version |\n| --- | --- |\n"]
    text += [f"| {name} | {version} |\n" for name, version in results["versions"].items()]
    text += ["\n## Commands\n\nIn the folder of inputs.\n\n```sh\n"]
    for row in results["rows"]:
        lines = row.get("prepared", []) + [row.get("ours")]
        lines += [peer["command"] for peer in row.get("peers", {}).values()]
        if row.get("peers"):
            text += [f"# {row['title']}\n", *(f"{line}\n" for line in lines)]
    return "".join(text) + "```\n"


def failed(results):
    """Whether a row's answers were wrong, or a command did not run."""
    return any(row["result"] == rows.FAILED for row in results["rows"])
