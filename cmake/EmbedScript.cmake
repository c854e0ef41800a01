# Writes OUTPUT, a source that holds the FILES as byte arrays. Called by ledgerwick_embed.
set(arrays "")
set(branches "")
set(index 0)
foreach(file IN LISTS FILES)
  file(READ ${file} hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
  get_filename_component(base ${file} NAME)
  string(APPEND arrays "constexpr char kFile${index}[] = {${bytes}'\\0'};\n")
  string(APPEND branches
    "  if (file_name == \"${base}\") return {kFile${index}, sizeof kFile${index} - 1};\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT}
"#include \"${NAME}_files.h\"
namespace ledgerwick::${NAME}_files {
namespace {
${arrays}}
std::string_view Find(std::string_view file_name) noexcept {
${branches}  return {};
}
}
")
