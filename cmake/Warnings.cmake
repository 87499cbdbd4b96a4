# The warnings that every target of the project is built with. A warning is an error.
add_library(qzmtraw_warnings INTERFACE)
target_compile_options(
  qzmtraw_warnings INTERFACE -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Woverloaded-virtual
                             -Werror)
