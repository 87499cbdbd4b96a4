# The warnings that every target of the project is built with. A warning is an error.
add_library(qzmtraw_warnings INTERFACE)
target_compile_options(
  qzmtraw_warnings INTERFACE -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Woverloaded-virtual
                             -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 warns of overlapping copies inside std::string where there are none (GCC bug 105651).
  target_compile_options(qzmtraw_warnings INTERFACE -Wno-restrict)
endif()
