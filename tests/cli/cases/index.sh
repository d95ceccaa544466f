# The complete index, wherever it is to go; it replaces what is there. The sparse one warns.
exec 2>&1
readkit index small.bam
cp small.bam.bai complete.bai
echo "an old index" >other.bai
readkit index small.bam other.bai
readkit index -o - small.bam | cmp - complete.bai
readkit index --json <small.bam -o piped.bai -
cmp other.bai complete.bai
cmp piped.bai complete.bai
readkit index --exact small.bam
echo "status $?"
cmp -s small.bam.bai complete.bai
echo "the same: $?"
readkit index --exact -q small.bam exact.bai
readkit index small.bam one.bai -o two.bai
echo "status $?"
readkit index - <small.bam
echo "status $?"
readkit shuffle --seed 2 -o mixed.bam small.bam
readkit index mixed.bam
echo "status $?"
ls
