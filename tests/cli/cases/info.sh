readkit info small.bam
readkit info --json small.bam
echo
readkit info small.sam
readkit info --json <small.sam -
