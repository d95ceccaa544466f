# Without --library it is the fast one, found through symbolic links too (readkit is one here).
readkit call --list | head -n 2
cd /
readkit call getReferenceID --args '["no such file", ""]'
