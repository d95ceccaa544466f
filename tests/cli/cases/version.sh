# The libraries' versions are the system's; that there is one is what is checked.
readkit --version | head -n 1
readkit --version | tail -n +2 | sed 's/ [1-9][0-9.]*$/ VERSION/; s/ 0\.[0-9.]*$/ VERSION/'
