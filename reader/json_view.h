// The whole of a snapshot as JSON. docs/oru-counters.md lists the keys, which are stable.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reader/problems.h"
#include "reader/snapshot.h"

namespace Show {

// Of every object that this program prints. A change that breaks its readers raises it.
inline constexpr int kJsonFormat = 1;

// What `show interfaces` and `top` know.
nlohmann::ordered_json json(Snapshot const& snapshot, std::vector<Problem> const& problems);
// What `show vlan-interfaces` knows of one.
nlohmann::ordered_json vlanIntfJson(Snapshot const& snapshot, Intf const& intf);
// The same with other objects in the array of interfaces, or with another array.
using IntfToJson = std::function<nlohmann::ordered_json(Snapshot const&, Intf const&)>;
nlohmann::ordered_json json(Snapshot const& snapshot, std::vector<Problem> const& problems,
                            IntfToJson const& toJson);
nlohmann::ordered_json json(Snapshot const& snapshot, std::vector<Problem> const& problems,
                            char const* arrayName, nlohmann::ordered_json array);

// The same pieces in every object of an interface: what it is and whether its rows are current, and
// when it was sampled.
nlohmann::ordered_json intfJson(Snapshot const& snapshot, Intf const& intf);
nlohmann::ordered_json sampleJson(Snapshot const& snapshot, Intf const& intf);

// An empty text stands for none.
nlohmann::ordered_json textJson(std::string_view text);
// Times are seconds since the epoch; 0 stands for "never".
nlohmann::ordered_json timeJson(double seconds);
template <class T>
nlohmann::ordered_json orNull(std::optional<T> const& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}

// The same pieces in every object that this program prints.
nlohmann::ordered_json problemsJson(std::vector<Problem> const& problems);
nlohmann::ordered_json agentJson(AgentStatus const& agent);

// On several lines for people, or on one. Malformed UTF-8 is replaced.
std::string jsonText(nlohmann::ordered_json const& value, bool oneLine);

}  // namespace Show
