#include "platform/glim/root_path.h"

#include <ostream>

namespace Mem {

namespace {

// "/a/b/" and "/a/b" are the same place; "/" stays what it is.
std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

}  // namespace

RootPath::RootPath(Dov::Platform::DebugHandler& handler, std::string_view path, bool makeDirectory)
    : Dov::Debuggable(handler),
      _path(withoutTrailingSlashes(path)),
      _makeDirectory(makeDirectory) {}

RootPath::~RootPath() = default;

std::string RootPath::directory() const {
  auto const slash = _path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : _path.substr(0, slash);
}

std::string RootPath::name() const {
  auto const slash = _path.rfind('/');
  return slash == std::string::npos ? _path : _path.substr(slash + 1);
}

std::ostream& operator<<(std::ostream& out, RootPath const& path) { return out << path.path(); }

}  // namespace Mem
