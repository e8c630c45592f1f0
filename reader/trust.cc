#include "reader/trust.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

namespace Show {

namespace {

// None when there is no regular file of that name.
std::optional<uid_t> ownerOf(std::string const& file) {
  struct stat status {};
  if (::lstat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return status.st_uid;
}

}  // namespace

Glim::ReaderOptions readerOptions(Trust trust, std::string const& file) {
  if (trust == Trust::directoryOwner) return {};
  return {.owner = ownerOf(file) == ::geteuid() ? ::geteuid() : 0};
}

std::string strangerOf(std::string const& file) {
  auto const owner = ownerOf(file);
  if (!owner || *owner == 0 || *owner == ::geteuid()) return {};
  passwd const* const entry = ::getpwuid(*owner);
  std::string const number = "user " + std::to_string(*owner);
  return entry == nullptr ? number : std::string(entry->pw_name) + " (" + number + ")";
}

}  // namespace Show
