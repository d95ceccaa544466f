# Comments have no commands of doxygen's: what looks like one is text.
/\/\/\//s/[@\\]/\\&/g
