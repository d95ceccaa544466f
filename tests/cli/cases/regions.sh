# A reference that is not there: those that may be meant are named.
exec 2>&1
for region in 1 chr01 Chr1 chrX chr1:a-b chr1:20-10 '{chr1}x' chr1:5-10:3 ''; do
  readkit view small.bam "$region"
  echo "status $?"
done
readkit view --json small.bam 1:5-10
echo "status $?"
