#include "agent/link_names.h"

#include <fnmatch.h>

#include <algorithm>
#include <utility>

namespace Agent {

LinkNames::LinkNames(std::vector<std::string> patterns, NameMap names)
    : _patterns(std::move(patterns)), _names(std::move(names)) {
  for (auto const& [kernelName, intfId] : _names) _given.insert(intfId);
}

LinkNames::Answer LinkNames::of(std::string const& kernelName, int ifindex,
                                std::uint16_t vlanId) const {
  bool const counted =
      _patterns.empty() || std::any_of(_patterns.begin(), _patterns.end(), [&](auto const& glob) {
        return ::fnmatch(glob.c_str(), kernelName.c_str(), 0) == 0;
      });
  if (!counted) return {};
  if (auto const at = _names.find(kernelName); at != _names.end())
    return {.intfId = at->second, .isNamed = true};
  if (vlanId != 0)
    return {.intfId = Pekt::IntfId("Vlan" + std::to_string(vlanId)), .isNamed = true};
  Pekt::IntfId const byIndex("Ethernet" + std::to_string(ifindex));
  if (_given.contains(byIndex)) return {.intfId = std::nullopt, .nameIsGivenAway = true};
  return {.intfId = byIndex};
}

}  // namespace Agent
