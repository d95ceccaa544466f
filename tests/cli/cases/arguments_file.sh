exec 2>&1
echo '["small.bam"]' >arguments.json
readkit call bamInfo --args-file arguments.json
readkit call bamInfo --args-file - <arguments.json
echo '["small.bam"]' | readkit call bamInfo --args-file -
readkit call bamInfo --args-file missing.json
echo "status $?"
readkit call bamInfo --args-file .
echo "status $?"
readkit call bamInfo --args-file - </dev/null
echo "status $?"
