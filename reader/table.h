// The agent's tables, as this program knows them. A new one is an enumerator here and a line of the
// list in the source.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/glim/answer.h"

namespace Show {

// In the order in which they are told of.
enum class Table : std::uint8_t {
  counters,
  clearCounters,
  descriptions,
  queueCounters,
  clearQueueCounters,
  aclDropCounters,
  vlanIntfCounters,
  coppCounters,
  vlanCounters,
  vlanCounterSnapshots,
  vlanDescriptions,
};

// As its file is called, without the ending.
std::string_view name(Table table);

inline constexpr std::string_view kNotPublished = "the agent has not published it";
// What it means that there is none, for people.
std::string_view whyMissing(Table table);

// How the reading of one table went.
struct TableRead {
  Glim::Answer answer = Glim::Answer::missing;  // of the whole table
  std::uint64_t rows = 0;                       // read
  std::uint64_t corruptRows = 0;                // failed their checksum, and were left out
  std::uint64_t busyRows = 0;                   // kept changing while they were read, likewise
  // "alice (user 1000)", of a file that is unsafe since that is neither this user nor the
  // superuser.
  std::string stranger = {};
};

}  // namespace Show
