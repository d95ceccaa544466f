# Outputs are made and not printed; what goes wrong is printed as without --quiet.
readkit call bamInfo --quiet --nlhs 2 --args '["small.bam"]'
echo "status $?"
readkit call bamIndex --quiet --args '["small.bam", "small.bam.bai"]'
echo "status $?"
ls small.bam.bai
readkit call bamInfo --quiet --args '["no.bam"]' 2>&1
echo "status $?"
readkit call echo --library "$echo" --quiet --args '[1]'
echo "status $?"
readkit call --list --quiet 2>&1
echo "status $?"
