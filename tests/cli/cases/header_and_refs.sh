readkit header small.sam
readkit header --json small.sam
readkit header small.bam | od -An -c | tail -n 3
readkit refs small.sam
readkit refs --json small.bam
