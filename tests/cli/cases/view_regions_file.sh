# The records of a file of regions: each once, in the order of the file, and the same ones with an
# index, without one, of text, and of a file that is not sorted.
awk 'BEGIN { OFS = "\t"; print "@SQ", "SN:chr1", "LN:1000000"; print "@SQ", "SN:chr2", "LN:100"
    for (i = 1; i <= 8; i++)
      print "record" i, 0, "chr1", 10 * i, 60, "5M", "*", 0, 0, "ACGTA", "IIIII", "NM:i:0"
    print "late", 0, "chr1", 900000, 60, "2M90N3M", "*", 0, 0, "ACGTA", "IIIII"
    print "next", 0, "chr2", 1, 60, "5M", "*", 0, 0, "ACGTA", "IIIII"
    print "unplaced", 4, "*", 0, 0, "*", "*", 0, 0, "ACGT", "IIII" }' >reads.sam
readkit convert -q reads.sam reads.bam
readkit index -q reads.bam
exec 2>&1
printf 'track name=x\n#comment\n\nchr2\t0\t1\tfirst base\nchr1\t28\t30\nchr1 14 31 + 0\r\n' >one.bed
printf 'chr1\t900050\t900051\nchr1\t44\t44\nchr1\t44\t45\nchr1\t45\t49\nbrowser hide all' >two.bed
names() { cut -f 1 | tr '\n' ' '; echo; }
for bed in one two; do
  readkit view -L $bed.bed reads.bam | names
  readkit view -L $bed.bed reads.sam | names
  readkit shuffle -q --seed 3 -o mixed.bam reads.bam
  readkit view -q --regions-file - mixed.bam <$bed.bed | cut -f 1 | sort | tr '\n' ' '
  rm mixed.bam
  echo
done
readkit view -h --no-tags -L two.bed reads.bam
readkit view -c -L one.bed reads.bam
readkit view --json -L two.bed --no-tags reads.bam | sed -n '1,/records/p'
echo 'unknown references:'
printf 'chrX\t1\t2\nchr2\t0\t9\n1\t1\t2\n' >unknown.bed
readkit view -c -L unknown.bed reads.bam
printf '1\t1\t2\n' >unknown.bed
readkit view -c -L unknown.bed reads.bam
echo "status $?"
echo 'no regions:'
: >empty.bed
readkit view -L empty.bed reads.bam
for line in 'chr1' 'chr1 5' 'chr1 x 9' 'chr1 -1 9' 'chr1 9 8' 'chr1 1 9x' 'chr1 1 99999999999999999999'; do
  echo "$line" >wrong.bed
  readkit view -L wrong.bed reads.bam
  echo "status $?"
done
readkit view -L missing.bed reads.bam
readkit view -L one.bed reads.bam chr1
readkit view --contained -L one.bed reads.bam
readkit view -L - - <reads.bam
echo "status $?"
