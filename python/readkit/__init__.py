"""Alignment files (SAM, BAM, FASTQ) as arrays.

>>> import readkit
>>> bam = readkit.open("reads.bam")
>>> bam
<BAM file 'reads.bam': 2 references>
>>> bam.starts("chr1").starts
array([100, 100, 120, 150, 400], dtype=uint32)
>>> bam.fields("chr1", ["Header", "MappingQuality"], region="chr1:110-140").to_pandas()
    Header  MappingQuality
0  spliced              60

Positions are 1-based and inclusive, records and references are counted from 0. `readkit.gateway`
has the functions underneath, with rules of their own. Errors are `readkit.Error`.
"""

from readkit import cluster, errors, gateway, qualities
from readkit._readkit import TextColumn, __version__
from readkit.bam_file import BamFile, Counts, Starts
from readkit.checks import Check, check
from readkit.errors import Error
from readkit.files import open
from readkit.libraries import use_library
from readkit.qualities import Quality, quality
from readkit.regions import Reference
from readkit.sam_file import SamFile
from readkit.tables import Table

__all__ = ["BamFile", "Check", "Counts", "Error", "Quality", "Reference", "SamFile", "Starts",
           "Table", "TextColumn", "__version__", "check", "cluster", "errors", "gateway", "open",
           "quality", "use_library"]
