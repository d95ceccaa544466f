exec 2>&1
# nested DEPTH: as many cells within each other.
nested() {
  awk -v depth="$1" 'BEGIN {
    printf "["
    for (i = 0; i < depth; ++i) printf "{\"class\": \"cell\", \"data\": ["
    for (i = 0; i < depth; ++i) printf "]}"
    print "]"
  }'
}
nested 101 | readkit call echo --library "$echo" --args-file - | wc -l
nested 102 >deep
readkit call echo --library "$echo" --args-file deep | tail -c 80
nested 30000 >deep
readkit call echo --library "$echo" --args-file deep 2>&1 | tail -n 2 | cut -c 1-20
awk 'BEGIN { for (i = 0; i < 100000; ++i) printf "[" }' >deep
readkit call echo --library "$echo" --args-file deep
echo "status $?"
awk 'BEGIN { for (i = 0; i < 100000; ++i) printf "["; for (i = 0; i < 100000; ++i) printf "]" }' >deep
readkit call echo --library "$echo" --args-file deep
echo "status $?"
