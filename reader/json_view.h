// The whole of a snapshot as JSON. docs/oru-counters.md lists the keys, which are stable.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "reader/problems.h"
#include "reader/snapshot.h"

namespace Show {

// Of every object that this program prints. A change that breaks its readers raises it.
inline constexpr int kJsonFormat = 1;

nlohmann::ordered_json json(Snapshot const& snapshot, std::vector<Problem> const& problems);

// The same pieces in every object that this program prints.
nlohmann::ordered_json problemsJson(std::vector<Problem> const& problems);
nlohmann::ordered_json agentJson(AgentStatus const& agent);

// On several lines for people, or on one. Malformed UTF-8 is replaced.
std::string jsonText(nlohmann::ordered_json const& value, bool oneLine);

}  // namespace Show
