readkit call second_only --library "$echo"
readkit call second_only --library "$echo" --nlhs 0
readkit call second_only --library "$echo" --nlhs 3
readkit call empties --library "$echo" --nlhs 2
