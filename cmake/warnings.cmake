# Every target of the project is compiled with these; dependencies are system headers.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
