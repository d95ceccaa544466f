# A sorted file, by name and by stream, and what becomes of one that is there already.
readkit sort -o sorted.sam small.sam
echo "status $?"
cat sorted.sam
readkit sort small.sam | cmp - sorted.sam
readkit sort --json --force -o sorted.sam small.sam
readkit shuffle --seed 7 -o mixed.bam small.bam
readkit shuffle --json -s 7 -o again.bam small.bam
cmp mixed.bam again.bam
readkit view mixed.bam | cut -f 1 | od -An -c
readkit sort mixed.bam | readkit view --no-tags - | cut -f 1,3,4 | od -An -c
readkit shuffle -o any.bam small.bam
readkit info any.bam | grep records
