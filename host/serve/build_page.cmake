# cmake -D WEB=host/web -D NPM=npm-or-nothing -D WORK=folder -D FALLBACK=page.html -D OUT=file.cpp -P build_page.cmake
cmake_minimum_required(VERSION 3.25)

# Works on a copy, so that nothing is left in the sources. Packages are installed anew only if what asks for them changed.
function(build_page result)
  file(MAKE_DIRECTORY ${WORK})
  file(GLOB files RELATIVE ${WEB} ${WEB}/*)
  list(REMOVE_ITEM files node_modules dist build test)
  foreach(file ${files})
    file(REMOVE_RECURSE ${WORK}/${file})
    file(COPY ${WEB}/${file} DESTINATION ${WORK})
  endforeach()
  file(SHA256 ${WEB}/package-lock.json wanted)
  set(stamp ${WORK}/installed)
  set(installed "")
  if(EXISTS ${stamp} AND EXISTS ${WORK}/node_modules)
    file(READ ${stamp} installed)
  endif()
  if(NOT installed STREQUAL wanted)
    execute_process(COMMAND ${NPM} ci --no-audit --no-fund --loglevel=error WORKING_DIRECTORY ${WORK}
                    RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT code EQUAL 0)
      message(WARNING "npm cannot install what the web page needs; ferrow serve is built without it.\n${output}")
      set(${result} OFF PARENT_SCOPE)
      return()
    endif()
    file(WRITE ${stamp} ${wanted})
  endif()
  file(REMOVE_RECURSE ${WORK}/dist)
  execute_process(COMMAND ${NPM} run --silent build WORKING_DIRECTORY ${WORK} RESULT_VARIABLE code
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "the web page cannot be built:\n${output}")
  endif()
  set(${result} ON PARENT_SCOPE)
endfunction()

function(type_of name result)
  foreach(pair "html=text/html; charset=utf-8" "js=text/javascript" "css=text/css" "svg=image/svg+xml" "png=image/png"
               "ico=image/x-icon" "json=application/json" "webmanifest=application/manifest+json" "wasm=application/wasm"
               "woff2=font/woff2" "txt=text/plain")
    string(REGEX MATCH "^([a-z0-9]+)=(.+)$" matched "${pair}")
    if(name MATCHES "\\.${CMAKE_MATCH_1}$")
      string(REGEX REPLACE "^[a-z0-9]+=" "" type "${pair}")
      set(${result} "${type}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${result} application/octet-stream PARENT_SCOPE)
endfunction()

set(built OFF)
if(NPM)
  build_page(built)
endif()
if(built)
  set(folder ${WORK}/dist)
  file(GLOB_RECURSE files RELATIVE ${folder} ${folder}/*)
else()
  get_filename_component(folder ${FALLBACK} DIRECTORY)
  get_filename_component(files ${FALLBACK} NAME)
endif()

set(arrays "")
set(table "")
set(number 0)
foreach(file ${files})
  file(READ ${folder}/${file} bytes HEX)
  file(SIZE ${folder}/${file} size)
  string(REGEX REPLACE "(................................................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  type_of(${file} type)
  set(name ${file})
  if(NOT built)
    set(name index.html)
  endif()
  string(APPEND arrays "constexpr unsigned char kFile${number}[] = {\n${bytes}0};\n")
  string(APPEND table "    {\"/${name}\", \"${type}\", text(kFile${number}, ${size})},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUT} "// Made by the build from host/web.
#include \"host/serve/page.hpp\"

namespace ferrow::serve {
namespace {

${arrays}
std::string_view text(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

} // namespace

std::span<const PageFile> pageFiles() {
    static const PageFile files[] = {
${table}    };
    return files;
}

} // namespace ferrow::serve
")
