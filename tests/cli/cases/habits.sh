# What users of other tools type.
exec 2>&1
for words in 'sort -@ 4 small.bam' 'sort -@4 -o sorted.bam small.bam' 'view -b small.bam' \
  'sort -n small.bam' 'index --threads 2 small.bam' 'view -F 4 small.bam' 'sort in.bam out.bam' \
  'help' 'stats small.bam' 'View small.bam'; do
  printf '\n$ readkit %s\n' "$words"
  # shellcheck disable=SC2086
  readkit $words | head -n 3
done
