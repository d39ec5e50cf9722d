# One interface target that every target of ours links: the warnings that are errors here.
add_library(varnolet_warnings INTERFACE)
target_compile_options(varnolet_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
