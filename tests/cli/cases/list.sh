readkit call --list --library "$library"
