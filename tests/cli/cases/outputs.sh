# What is there is kept, unless it is an index; nothing half is ever left.
exec 2>&1
echo precious >there.bam
readkit sort -o there.bam small.bam
echo "status $?"
cat there.bam
readkit sort -f -o there.bam small.bam
cmp there.bam small.bam
chmod 600 there.bam
ln -s there.bam link.bam
readkit sort -f -o link.bam small.bam
stat -c '%a %F' there.bam link.bam
readkit sort -f -o small.bam small.bam
echo "status $?"
ln small.bam hard.bam
readkit convert -f small.bam hard.bam
echo "status $?"
readkit sort -o sorted.sam small.bam
echo "status $?"
readkit sort -o none/sorted.bam small.bam
echo "status $?"
mkdir folder
readkit sort -o folder small.bam
echo "status $?"
readkit sort --json small.bam
echo "status $?"
readkit sort -o /dev/full small.bam
echo "status $?"
readkit sort -o /dev/null small.bam
echo "status $?"
readkit view small.bam >/dev/full
echo "status $?"
printf '@SQ\tSN:chr1\tLN:9\nname\t0\tchr1\t1\t0\t1M\t*\t0\t0\tX\t*\n' >bad.sam
readkit sort -o bad.sorted.sam bad.sam
echo "status $?"
head -c 200 small.bam >cut.bam
readkit sort -o cut.sorted.bam cut.bam
echo "status $?"
readkit view --json cut.bam >document
echo "status $?"
TMPDIR=/none readkit view small.bam
echo "status $?"
ls -a | grep -v '^\.*$' | tr '\n' ' '
