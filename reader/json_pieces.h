// What all JSON that this program prints is made of.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Show {

struct AgentStatus;
struct Problem;

// Of every object that this program prints. A change that breaks its readers raises it.
inline constexpr int kJsonFormat = 1;

// An empty text stands for none.
nlohmann::ordered_json textJson(std::string_view text);
// Times are seconds since the epoch; 0 stands for "never".
nlohmann::ordered_json timeJson(double seconds);
nlohmann::ordered_json orNull(std::optional<std::uint64_t> value);
nlohmann::ordered_json orNull(std::optional<double> value);

// The same pieces in every object that this program prints.
nlohmann::ordered_json problemsJson(std::vector<Problem> const& problems);
nlohmann::ordered_json agentJson(AgentStatus const& agent);

// On several lines for people, or on one. Malformed UTF-8 is replaced.
std::string jsonText(nlohmann::ordered_json const& value, bool oneLine);

}  // namespace Show
