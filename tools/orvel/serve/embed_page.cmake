# Writes OUTPUT, a C++ file defining orvel::serve::pageAsset over the files in FILES (a list
# of paths), each as an array of its bytes, named by its file name.
set(arrays "")
set(lookups "")
set(index 0)
foreach(file IN LISTS FILES)
  get_filename_component(name "${file}" NAME)
  file(READ "${file}" bytes HEX)
  string(LENGTH "${bytes}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char kAsset${index}[] = {${bytes}};\n")
  string(APPEND lookups
         "  if (name == \"${name}\") return std::string_view(kAsset${index}, ${size});\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}.new" "// Generated from the files of tools/orvel/serve/page by embed_page.cmake.
#include \"tools/orvel/serve/site_pages.h\"

namespace orvel::serve {
namespace {
${arrays}}  // namespace

std::optional<std::string_view> pageAsset(std::string_view name) {
${lookups}  return std::nullopt;
}

}  // namespace orvel::serve
")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
