"""Judges the peak memory of rows.

A process's start is the peak of a call that does next to nothing, measured in the same run. What
comes on top of it may be so much, plus what the operation has to hold: the header and an index.
MB are millions of bytes.
"""

MB = 1_000_000
CONVERSION, FASTQ_SCAN, SORT = "conversion", "FASTQ scan", "sort"
_ABOVE_START = {CONVERSION: 8 * MB}
_IN_ALL = {FASTQ_SCAN: 20 * MB}
# Of the first peer's peak.
_SORT_RATIO = 1.1


def verdict(kind, peak, start, peers_peak, held):
    """What a peak is compared with, in bytes, and whether it keeps to that; None without a kind.

    `peak`, `start` and `peers_peak` are KiB, as processes report them, `held` bytes.
    """
    if kind is None:
        return None
    used = 1024 * peak
    if kind in _ABOVE_START:
        used = max(used - 1024 * start, 0)
        most = _ABOVE_START[kind] + held
    elif kind in _IN_ALL:
        most = _IN_ALL[kind]
    else:
        most = _SORT_RATIO * 1024 * peers_peak
    return {"kind": kind, "used": used, "most": most, "met": used <= most}


def shown(judged):
    """A verdict as it stands in the table."""
    if judged is None:
        return "–"
    used, most = (f"{judged[name] / MB:.1f}" for name in ("used", "most"))
    return f"{used} of {most}" if judged["met"] else f"**{used} above {most}**"


def missed(results):
    """The titles of rows whose peak was too high."""
    return [row["title"] for row in results["rows"]
            if (row.get("memory") or {}).get("met") is False]
