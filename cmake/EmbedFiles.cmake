# ledgerwick_embed(TARGET NAME GLOB...): compiles the text files into TARGET. The generated header
# "NAME_files.h" declares ledgerwick::NAME_files::Find(file name) -> std::string_view, which is empty
# for a name that is not there.
function(ledgerwick_embed target name)
  file(GLOB files CONFIGURE_DEPENDS ${ARGN})
  set(dir ${PROJECT_BINARY_DIR}/embedded)
  set(source ${dir}/${name}_files.cpp)
  file(WRITE ${dir}/${name}_files.h.in
"#pragma once
#include <string_view>
namespace ledgerwick::${name}_files {
// The text of an embedded file; empty for a name that is not there.
std::string_view Find(std::string_view file_name) noexcept;
}
")
  configure_file(${dir}/${name}_files.h.in ${dir}/${name}_files.h COPYONLY)
  add_custom_command(OUTPUT ${source}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${source} -DNAME=${name} "-DFILES=${files}"
            -P ${PROJECT_SOURCE_DIR}/cmake/EmbedScript.cmake
    DEPENDS ${files} ${PROJECT_SOURCE_DIR}/cmake/EmbedScript.cmake VERBATIM)
  target_sources(${target} PRIVATE ${source})
  target_include_directories(${target} PRIVATE ${dir})
endfunction()
