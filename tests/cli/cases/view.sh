# Whole files, regions, forms.
readkit index small.bam
readkit view small.bam | od -An -c | head -n 4
readkit view -h small.sam
readkit view -H small.sam
readkit view --no-tags small.sam
echo 'regions:'
readkit view small.bam chr1:15-16
readkit view small.bam chr1:15
readkit view small.bam chr1:100-2,000 '*' chr1:9-9
readkit view -c small.bam chr1
readkit view --count --json small.bam chr1:100-100
readkit view --contained small.bam chr1:10-14
readkit view --index small.bam.bai small.bam '{chr1}:1-5'
echo 'of text:'
readkit view small.sam 'HLA:A*01' chr1:54-60
readkit view small.sam 'HLA:A*01:8-9' '*'
readkit view small.sam 'HLA:A*01:9-10'
readkit view --json small.sam chr1:10-10
readkit view -o lines.sam small.sam
wc -l <lines.sam
