exec 2>&1
readkit call echo --library "$echo" --args "$(printf '["a\377"]')" | tr -d '\377'
