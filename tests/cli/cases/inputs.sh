# Kinds are known by content; what is compressed is unpacked, and standard input is taken.
exec 2>&1
gzip -k small.sam
cp small.sam.gz anything
readkit view -c anything
readkit view -c - <small.sam.gz
readkit view -c - <small.bam
mv small.bam bam.sam
readkit view -c bam.sam
mkfifo pipe
cat small.sam >pipe &
readkit view -c pipe
{ gzip -c small.sam; printf 'late\t4\t*\t0\t0\t*\t*\t0\t0\tGG\t##\n' | gzip -c; } >two.sam.gz
readkit view two.sam.gz '*'
echo 'what is refused:'
printf '@read\nACGT\n+\nIIII\n' | gzip >reads.fastq.gz
head -c 90 small.sam.gz >cut.sam.gz
: >empty
printf 'CRAM\003\000' >some.cram
printf '\3757zXZ\000' >some.xz
printf 'BAI\001' >some.bai
printf 'hello\n' >text
for file in reads.fastq.gz cut.sam.gz empty some.cram some.xz some.bai text none .; do
  readkit info $file
  echo "status $?"
done
readkit info --json none
echo "status $?"
readkit index small.sam
echo "status $?"
