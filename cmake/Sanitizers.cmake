# Applied to the whole tree, so that library, tool and tests agree. Two checks are left out because they presume that
# both sides of a virtual call come from one compiler, which the binary contract doesn't: the tests build tables of
# functions by hand.
if(QZMTRAW_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr,function -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined -fno-sanitize=vptr,function)
endif()
