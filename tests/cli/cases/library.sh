exec 2>&1
readkit call --list --library "$echo"
readkit call --list --library ./missing.so
echo "status $?"
readkit call asked_for --library ./small.bam | sed 's/: [^:]*: invalid ELF header.*/: .../' >shown
grep -o '"identifier": "[^"]*"' shown
