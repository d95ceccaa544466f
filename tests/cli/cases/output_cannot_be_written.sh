exec 2>&1
readkit call asked_for --library "$echo" >/dev/full
echo "status $?"
readkit --help >/dev/full
echo "status $?"
readkit call asked_for --library "$echo" >&-
echo "status $?"
# More than a pipe holds, to a reader that takes one byte.
awk 'BEGIN { printf "[\""; for (i = 0; i < 3000000; ++i) printf "x"; print "\"]" }' >long
{
  readkit call echo --library "$echo" --args-file long 2>message
  echo "status $?" >>message
} | head -c 1 >/dev/null
cat message
