exec 2>&1
readkit convert small.sam copy.sam
cmp small.sam copy.sam
readkit convert --no-header --records 4,2 small.sam - --to sam
readkit convert --to fastq small.sam - --records 1-2
readkit convert --json small.sam reads.fa
cat reads.fa
echo 'to BAM:'
readkit convert small.sam small2.bam
readkit view -h small2.bam | cmp - small.sam
readkit convert --records 1-3 --refs chr1 small.bam part.bam
readkit header part.bam | head -n 1
readkit refs part.bam
readkit view -c part.bam
echo 'what cannot be:'
readkit convert --records 3-9 small.sam few.sam
readkit convert --refs chr1 small.bam few.fastq
echo "status $?"
readkit convert --refs chr2,chr1 small.bam few.bam
echo "status $?"
readkit convert --refs chr1 small.bam few.bam
echo "status $?"
readkit convert small.bam few.txt
echo "status $?"
readkit convert small.bam few.fastq.gz
echo "status $?"
readkit convert --records 0-3 small.bam few.fastq
echo "status $?"
readkit convert --records 1- small.bam few.fastq
echo "status $?"
readkit convert --records 1-4000000000 small.bam few.fastq
echo "status $?"
ls
