# Exported with the calling form of a function, though not registered.
readkit call kxUnlisted --library "$echo"
readkit call --list --library "$echo" | grep -c kxUnlisted
