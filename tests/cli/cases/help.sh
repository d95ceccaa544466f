# The option lists are the option parser's; what is checked is that both texts come, on standard
# output, and that the longer one has its examples.
readkit --help | grep -x 'Utilities for genomic.*'
readkit call --help | sed -n '/^Arguments:/,$p'
