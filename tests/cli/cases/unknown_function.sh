exec 2>&1
readkit call bam_info
echo "status $?"
readkit call quite_another_name --library "$echo"
echo "status $?"
