#include "reader/select.h"

#include <fnmatch.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Show {

bool matches(std::string_view name, Intf const& intf) {
  auto const means = [&name](std::string_view its) {
    if (its.empty()) return false;
    return name == its || ::fnmatch(std::string(name).c_str(), std::string(its).c_str(), 0) == 0;
  };
  return means(intf.intfId.view()) || means(intf.kernelName());
}

std::vector<std::string> select(Snapshot& snapshot, std::vector<std::string> const& names) {
  if (names.empty()) return {};
  std::vector<bool> meant(names.size(), false);
  std::vector<Intf> selected;
  for (Intf& intf : snapshot.interfaces) {
    bool wanted = false;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (!matches(names[i], intf)) continue;
      meant[i] = wanted = true;
    }
    if (wanted) selected.push_back(std::move(intf));
  }
  snapshot.interfaces = std::move(selected);
  std::vector<std::string> unknown;
  for (std::size_t i = 0; i < names.size(); ++i)
    if (!meant[i] && std::find(unknown.begin(), unknown.end(), names[i]) == unknown.end())
      unknown.push_back(names[i]);
  return unknown;
}

}  // namespace Show
