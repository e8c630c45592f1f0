#include "reader/select.h"

#include <fnmatch.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "reader/vlan_ids.h"

namespace Show {

namespace {

bool means(std::string_view name, std::string_view its) {
  if (its.empty()) return false;
  return name == its || ::fnmatch(std::string(name).c_str(), std::string(its).c_str(), 0) == 0;
}

bool matches(std::string_view name, Qos::CoppClassCounter const& row) {
  return means(name, row.className.view());
}

bool matches(std::string const& element, Vlan const& vlan) {
  auto const range = vlanRangeOf(element);
  return range && range->contains(vlan.vlanId);
}

template <class Item>
std::vector<std::string> selectFrom(std::vector<Item>& items,
                                    std::vector<std::string> const& names) {
  if (names.empty()) return {};
  std::vector<bool> meant(names.size(), false);
  std::vector<Item> selected;
  for (Item& item : items) {
    bool wanted = false;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (!matches(names[i], item)) continue;
      meant[i] = wanted = true;
    }
    if (wanted) selected.push_back(std::move(item));
  }
  items = std::move(selected);
  std::vector<std::string> unknown;
  for (std::size_t i = 0; i < names.size(); ++i)
    if (!meant[i] && std::find(unknown.begin(), unknown.end(), names[i]) == unknown.end())
      unknown.push_back(names[i]);
  return unknown;
}

}  // namespace

bool matches(std::string_view name, Intf const& intf) {
  return means(name, intf.intfId.view()) || means(name, intf.kernelName());
}

std::vector<std::string> select(Snapshot& snapshot, std::vector<std::string> const& names) {
  return selectFrom(snapshot.interfaces, names);
}
std::vector<std::string> selectClasses(Snapshot& snapshot, std::vector<std::string> const& names) {
  return selectFrom(snapshot.classes, names);
}
std::vector<std::string> selectVlans(Snapshot& snapshot, std::vector<std::string> const& lists) {
  return selectFrom(snapshot.vlans, vlanElements(lists));
}

}  // namespace Show
