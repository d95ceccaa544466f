readkit --version
