# An index that cannot be relied on is reported and not used: no record is ever missed.
awk 'BEGIN { OFS = "\t"; print "@SQ", "SN:chr1", "LN:1000000"; print "@SQ", "SN:chr2", "LN:10"
    for (i = 1; i <= 18; i++)
      print "record" i, 0, "chr1", 16384 * (i - 1) + 1, 60, "5M", "*", 0, 0, "ACGTA", "IIIII"
    print "last", 0, "chr2", 1, 60, "5M", "*", 0, 0, "ACGTA", "IIIII" }' >wide.sam
readkit convert -q wide.sam wide.bam
exec 2>&1
query() {
  readkit view wide.bam chr1:147457-270000 | cut -f 1 | tr '\n' ' '
  echo
}
echo 'without an index:'
query
echo 'sparse:'
readkit index --quiet --exact wide.bam
query
readkit fields --field Header,Position wide.bam chr1 --records 10-11
echo 'complete:'
readkit index wide.bam
query
echo 'older than its file:'
touch -d '2001-01-01' wide.bam.bai
query
echo 'of another file:'
readkit view -q --count small.bam chr1
readkit index small.bam wide.bam.bai
query
echo 'no index at all:'
echo nothing >wide.bam.bai
query
readkit view --index none.bai wide.bam chr1
echo "status $?"
echo 'of a file that is not sorted:'
readkit shuffle --seed 3 -o mixed.bam wide.bam
readkit view -q mixed.bam chr1:147457-270000 | cut -f 1 | sort | tr '\n' ' '
echo
readkit fields -q mixed.bam chr1
echo "status $?"
