# What SAM text loses here, and what ends the work, is told before.
exec 2>&1
awk 'BEGIN { OFS = "\t"; print "@SQ", "SN:chr1", "LN:1000"
    for (i = 0; i < 256; i++) long = long "A"
    qualities = long; gsub("A", "I", qualities)
    print "@CO", "a:B:comment"
    print "short", 0, "chr1", 1, 60, "5M", "*", 0, 0, "ACGTA", "IIIII", "XZ:Z::B:c"
    print "long1", 0, "chr1", 1, 60, "256M", "*", 0, 0, long, qualities
    print "long2", 0, "chr1", 2, 60, "256M", "*", 0, 0, long, qualities
    print "short", 0, "chr1", 9, 60, "5M", "*", 0, 0, "ACGTA", "IIIII" }' >long.sam
readkit sort -o sorted.sam long.sam
echo "status $?"
awk '{ print length($10) }' sorted.sam | tail -n 4 | tr '\n' ' '
echo
readkit sort -q -f -o sorted.sam long.sam
{ cat small.sam; printf 'bare\t256\tchr1\t9\t60\t5M\t*\t0\t0\t*\t*\n'; } >bare.sam
readkit sort -o sorted2.sam bare.sam
echo "status $?"
{ cat small.sam; printf 'array\t0\tchr1\t9\t60\t2M\t*\t0\t0\tAC\tII\tNM:i:1\tXB:B:c,1,2\n'; } >array.sam
readkit convert array.sam array.bam
echo "status $?"
readkit view array.sam chr1:9-9
