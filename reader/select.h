// Which interfaces, classes or VLANs a command is about.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "reader/snapshot.h"

namespace Show {

// Whether a NAME of the command line means this interface: its name, the kernel's name for it, or a
// pattern of fnmatch(3) (`*`, `?`, `[...]`) that matches either.
bool matches(std::string_view name, Intf const& intf);

// Keeps the interfaces that one of the names means; all when there are no names. Answers the names
// that mean none, in the order given.
std::vector<std::string> select(Snapshot& snapshot, std::vector<std::string> const& names);
// The same of classes, which have one name each.
std::vector<std::string> selectClasses(Snapshot& snapshot, std::vector<std::string> const& names);
// The same of VLANs, by lists as vlan_ids.h has them. Answers the ids, and the ranges without any.
std::vector<std::string> selectVlans(Snapshot& snapshot, std::vector<std::string> const& lists);

}  // namespace Show
