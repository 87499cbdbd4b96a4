# cmake -DTEMPLATE=FILE -DOPTIONS=FILE -DVERSION=TEXT -DOUTPUT=FILE -P FillTemplate.cmake: puts what the two tell into the
# places that the template marks with their names.
file(READ ${OPTIONS} OPTIONS)
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
