#include "desk/assets.h"

#include <iterator>

#include "desk_page_files.h"

namespace ledgerwick::desk {
namespace {

struct Type {
  std::string_view ending;
  const char* type;
};
constexpr Type kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".ico", "image/x-icon"},
    {".json", "application/json; charset=utf-8"},
    {".woff2", "font/woff2"},
    {".webmanifest", "application/manifest+json"},
};

}  // namespace

PageFile FindPageFile(const std::string& name) {
  for (const Type& type : kTypes) {
    if (name.ends_with(type.ending)) return {desk_page_files::Find(name), type.type};
  }
  return {};
}

}  // namespace ledgerwick::desk
