"""Compares instruction counts with those of before."""

# As much as a count may differ.
MARGIN = 0.03


def outside(old, new, margin=MARGIN):
    """Whether a count differs by more than the margin."""
    return abs(new - old) > margin * old


def different(old, new):
    """What was otherwise when the old counts were taken: names of facts, with both values."""
    return {name: (old.get(name), new.get(name)) for name in sorted({*old, *new})
            if old.get(name) != new.get(name)}


def compared(old, new):
    """(lines, whether all is well) of two sets of counts, each {"made_with", "counts"}.

    Counts of our own library are judged always, those of everything only where libraries and
    processor are the same.
    """
    facts = different(old["made_with"], new["made_with"])
    kinds = ("own",) if facts else ("own", "all")
    lines, well = [], True
    for name, counts in new["counts"].items():
        before = old["counts"].get(name)
        if before is None:
            lines.append(f"{name}: {counts['own']:,}, not counted before; --update keeps it")
            well = False
            continue
        for kind in kinds:
            change = 100 * (counts[kind] / before[kind] - 1)
            bad = outside(before[kind], counts[kind])
            well = well and not bad
            lines.append(f"{name}, {kind}: {counts[kind]:,}, {change:+.2f} %"
                         + (f"  OUTSIDE {100 * MARGIN:.0f} %" if bad else ""))
    for name in old["counts"]:
        if name not in new["counts"]:
            lines.append(f"{name}: counted before and not any more")
            well = False
    for name, (before, now) in facts.items():
        lines.append(f"the counts were taken with another {name}: {before}, here {now}")
    return lines, well
