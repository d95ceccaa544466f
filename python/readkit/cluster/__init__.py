"""The same work on many machines, by Dask (Debian's python3-distributed).

A `Cluster` does to many files at once what file objects do to one, and reads one large indexed file
by windows; what comes of it is what one machine gives.

>>> import readkit.cluster
>>> with readkit.cluster.Cluster(workers=2) as machines:
...     checks = machines.check(["reads.bam", "reads.bam.bai"])
...     starts = machines.open("reads.bam").starts("chr1").starts
>>> [(name, found.kind, found.count) for name, found in checks.items()]
[('reads.bam', 'BAM', 0), ('reads.bam.bai', 'BAI', 0)]
>>> starts
array([100, 100, 120, 150, 400], dtype=uint32)

The processes of a `Cluster()` begin with the script's main module: what a script does belongs under
``if __name__ == "__main__":``.
"""

from readkit.cluster.machines import Cluster
from readkit.cluster.windowed_file import WindowedBamFile

__all__ = ["Cluster", "WindowedBamFile"]
