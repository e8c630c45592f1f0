// The command poll: has the agent read counters now, and not only when their period is over.
#pragma once

#include <array>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Show {

class Asking;
struct ControlWorld;
struct Options;

// A kind of counter, and where the agent keeps the pollers of it.
struct PollKind {
  std::string_view name;
  std::string_view counterType;  // as updateCounters takes it
  std::string_view collection;   // of countersSm, by interface
};
inline constexpr std::array kPollKinds{
    PollKind{"port", "1", "portCountersSm"}, PollKind{"queue", "0", "intfQueueCountersSm"},
    PollKind{"acl", "6", "intfAclDropCountersSm"}, PollKind{"vlan", "3", "vlanIntfCountersSm"},
    PollKind{"cpu", "2", "cpuPortCountersSm"}};
// The kind of that name; null for none.
PollKind const* pollKindOf(std::string_view name);
// "port, queue, acl, vlan, cpu"
std::string pollKindNames();

// Polls what the options name, and tells it to `out`. An update of what has no poller does nothing
// and says nothing, so the agent is asked first what it has; and of what the chip gives nothing for
// it says nothing either, so the rows that bear a time are compared with those before. Throws
// NoAnswer: where a name means no interface, or none with a poller that is asked for, nothing was
// polled; else what was polled is told all the same.
void poll(Options const& options, ControlWorld const& world, Asking& ask, std::ostream& out);

}  // namespace Show
