exec 2>&1
for shell in bash zsh fish; do readkit completion $shell | head -n 1; done
readkit completion ksh
echo "status $?"
readkit completion
echo "status $?"
readkit manual sort | head -n 4
readkit manual srot
echo "status $?"
mkdir pages
readkit manual --all pages
ls pages/readkit.1 pages/readkit-sort.1
readkit manual --all none
echo "status $?"
readkit help header
readkit help | head -n 1
