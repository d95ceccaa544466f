exec 2>&1
# Four reads; the last has a lower-case letter and the least quality that there is.
printf '@%s\n%s\n+\n%s\n' a ACGT IIII b ACGTT IIII5 c GGCC ?5+! d nCGT '!III' >four.fastq
readkit quality four.fastq
echo "status $?"
gzip -c four.fastq | readkit quality -q --span 2-3 --first 2 -
echo "status $?"
readkit quality --min-length 9 four.fastq
readkit quality --mapped-only small.bam | head -n 12
readkit quality --json four.fastq | grep -c '"p50"'
readkit quality -q --json four.fastq | sed -n '/"verdicts"/,$p' | head -n 13

echo '-- encodings'
printf '@old\nACGT\n+\nhgfB\n' >old.fastq
printf '@either\nACGT\n+\nBBBC\n' >either.fastq
readkit quality old.fastq | head -n 4
readkit quality --encoding auto old.fastq either.fastq | grep -E '^(sample|encoding|mean quality)'
readkit quality -e 64 four.fastq
echo "status $?"

echo '-- what cannot be'
readkit quality
echo "status $?"
readkit quality --encoding 59 four.fastq
echo "status $?"
readkit quality --span 5-2 four.fastq
echo "status $?"
readkit quality --first 1 --mapped-only small.bam
echo "status $?"
readkit quality missing.fastq
echo "status $?"
printf '@short\nACGT\n+\nIII\n' >short.fastq
readkit quality four.fastq short.fastq
echo "status $?"
readkit quality --json short.fastq
echo "status $?"

echo '-- outputs'
readkit quality -q --fastqc-data qc four.fastq >four.txt
cat qc/four.fastq_fastqc/fastqc_data.txt
readkit quality --fastqc-data qc four.fastq
echo "status $?"
readkit quality -q --fastqc-data qc -f four.fastq | cmp - four.txt
ls -A
