// The whole of a snapshot as JSON. docs/oru-counters.md lists the keys, which are stable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace Show {

struct Intf;
struct Problem;
struct Snapshot;

// What a command shows of a snapshot: the array's name in the object that is printed, and the
// array.
struct JsonArray {
  char const* name;
  nlohmann::ordered_json (*json)(Snapshot const&);
};

// The object that is printed, as jsonText of json_pieces.h.
std::string jsonText(Snapshot const& snapshot, std::vector<Problem> const& problems,
                     JsonArray const& array, bool oneLine);

// What `show interfaces` and `top` know.
nlohmann::ordered_json interfacesJson(Snapshot const& snapshot);
inline constexpr JsonArray kInterfacesArray{"interfaces", interfacesJson};
// What `show vlan-interfaces` knows.
nlohmann::ordered_json vlanIntfsJson(Snapshot const& snapshot);

// For other arrays of interfaces: an object of each.
nlohmann::ordered_json arrayOf(Snapshot const& snapshot,
                               nlohmann::ordered_json (*toJson)(Snapshot const&, Intf const&));
// The same pieces in every such object: what it is and whether its rows are current, and when it
// was sampled.
nlohmann::ordered_json intfJson(Snapshot const& snapshot, Intf const& intf);
nlohmann::ordered_json sampleJson(Snapshot const& snapshot, Intf const& intf);

}  // namespace Show
