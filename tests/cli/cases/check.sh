exec 2>&1
readkit index small.bam
readkit check small.bam small.bam.bai
echo "status $?"
head -c 300 small.bam >cut.bam
readkit check cut.bam
echo "status $?"
readkit check --json small.sam
echo "status $?"
printf '@read\nACGT\n+\nIII\n' | readkit check -
echo "status $?"
cp small.bam.bai index
readkit check small.bam index
echo "status $?"
readkit check small.sam small.bam.bai
echo "status $?"
readkit check small.bam none.bai
echo "status $?"
# Damage at the start of a BAM file does not make another kind of file of it.
{ printf 'not BAM' | gzip -c; tail -c +60 small.bam; } >start.bam
readkit check start.bam | head -n 2
readkit info start.bam
echo "status $?"
