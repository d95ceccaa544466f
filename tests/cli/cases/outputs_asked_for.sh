# By default one output is asked for, and none of a function that has none to give.
readkit call asked_for --library "$echo"
readkit call asked_for --library "$echo" --nlhs 0
readkit call asked_for --library "$echo" --nlhs 3
readkit call strict --library "$echo"
readkit call strict --library "$echo" --nlhs 0
readkit call strict --library "$echo" --nlhs 1
echo "status $?"
