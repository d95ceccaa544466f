# Every type of argument; the message for people goes to standard error.
readkit call fail --library "$echo"
