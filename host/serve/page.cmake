# The web page of `ferrow serve`: built by npm from host/web, in the build folder, and embedded in the program. Sets
# FERROW_PAGE_SOURCE. Without npm, or where its packages cannot be had, one page that says so takes its place.
set(FERROW_PAGE_SOURCE ${CMAKE_CURRENT_BINARY_DIR}/page_files.cpp)
set(web ${CMAKE_CURRENT_SOURCE_DIR}/web)
find_program(FERROW_NPM npm)
if(FERROW_NPM AND EXISTS ${web}/package-lock.json)
  set(haveWeb ON)
else()
  set(haveWeb OFF)
endif()
option(FERROW_WEB "Build the web page of `ferrow serve` by npm" ${haveWeb})
if(FERROW_WEB AND NOT haveWeb)
  message(FATAL_ERROR "FERROW_WEB needs npm")
endif()
set(webFiles)
if(FERROW_WEB)
  file(GLOB_RECURSE webFiles CONFIGURE_DEPENDS ${web}/src/* ${web}/public/*)
  file(GLOB webTop CONFIGURE_DEPENDS ${web}/*.json ${web}/*.mjs ${web}/*.html)
  list(APPEND webFiles ${webTop})
endif()
add_custom_command(
  OUTPUT ${FERROW_PAGE_SOURCE}
  COMMAND ${CMAKE_COMMAND} -D WEB=${web} -D NPM=$<$<BOOL:${FERROW_WEB}>:${FERROW_NPM}>
          -D WORK=${CMAKE_CURRENT_BINARY_DIR}/web -D FALLBACK=${CMAKE_CURRENT_SOURCE_DIR}/serve/no_page.html
          -D OUT=${FERROW_PAGE_SOURCE} -P ${CMAKE_CURRENT_SOURCE_DIR}/serve/build_page.cmake
  DEPENDS ${webFiles} serve/build_page.cmake serve/no_page.html
  COMMENT "Embedding the web page" VERBATIM)
