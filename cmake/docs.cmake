# `cmake --build --preset release --target docs`: the C interface as a site, in docs/html of the build folder. Needs Doxygen
# and Python; any warning is an error.
find_program(FERROW_DOXYGEN doxygen)
if(FERROW_DOXYGEN AND FERROW_PYTHON)
  configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
  add_custom_target(docs COMMAND ${FERROW_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile VERBATIM)
endif()
