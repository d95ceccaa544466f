exec 2>&1
readkit count small.bam
readkit count --json --min-MQ 8 --both-ends-mapped --proper-pairs --multi-mapped drop-secondary small.bam
readkit count --multi-mapped drop-nh small.bam
echo "status $?"
readkit count --multi-mapped drop small.bam
echo "status $?"
readkit count --min-MQ 256 small.bam
echo "status $?"
