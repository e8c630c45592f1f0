#include "reader/vlan_ids.h"

#include "platform/kel/exceptions.h"

namespace Show {

std::optional<VlanRange> vlanRangeOf(std::string const& element) {
  auto const dash = element.find('-');
  try {
    Bridging::VlanId const first(element.substr(0, dash));
    if (dash == std::string::npos) return VlanRange{first, first};
    VlanRange const range{first, Bridging::VlanId(element.substr(dash + 1))};
    return range.first <= range.last ? std::optional(range) : std::nullopt;
  } catch (Kel::RangeException const&) {
    return std::nullopt;
  }
}

std::vector<std::string> vlanElements(std::string const& list) {
  std::vector<std::string> elements;
  std::size_t begin = 0;
  for (auto comma = list.find(','); comma != std::string::npos; comma = list.find(',', begin)) {
    elements.push_back(list.substr(begin, comma - begin));
    begin = comma + 1;
  }
  elements.push_back(list.substr(begin));
  return elements;
}

std::vector<std::string> vlanElements(std::vector<std::string> const& lists) {
  std::vector<std::string> all;
  for (std::string const& list : lists)
    for (std::string& element : vlanElements(list)) all.push_back(std::move(element));
  return all;
}

std::string wrongVlans(std::string const& list) {
  for (std::string const& element : vlanElements(list))
    if (!vlanRangeOf(element))
      return "'" + element +
             "' is no VLAN: give ids from 1 to 4094, ranges of them, or lists: 10-20,30";
  return {};
}

}  // namespace Show
