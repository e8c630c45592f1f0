// A simulated port: the flows through it, and what befalls its counters.
//
//   Port port;
//   port.add({.fate = Fate::inUcastPkts, .framesPerSecond = 1000, .octets = 512});
//   port.resetAt(20);
//   port.sample(19).frames(Fate::inUcastPkts);  // 19,000
//   port.sample(21).frames(Fate::inUcastPkts);  // 1,000
//
// Like a flow, a port is a value whose counts are a function of the time alone. All that is to
// happen is laid down first, in any order; the times may lie in the past or the future.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "hardware/simulated/flow.h"

namespace Hardware::Simulated {

inline constexpr std::size_t frameSizes = 7;  // RFC 2819's classes, 64 octets to 1519 and more
inline constexpr std::size_t egressQueues = 8;

// What the counters of a port stand at; every count is modulo 2^64.
struct Sample {
  std::array<std::uint64_t, fateCount> byFate{};
  std::uint64_t inOctets = 0;
  std::uint64_t outOctets = 0;
  std::array<std::uint64_t, frameSizes> inSizes{};
  std::array<std::uint64_t, frameSizes> outSizes{};
  // Sums of the five classes of errors each, unless the port was told to break them.
  std::uint64_t inErrors = 0;
  std::uint64_t outErrors = 0;
  // False when the chip does not provide the counters that a chip may go without.
  bool optionalCounters = true;

  std::uint64_t& frames(Fate fate) { return byFate[static_cast<std::size_t>(fate)]; }
  std::uint64_t frames(Fate fate) const { return byFate[static_cast<std::size_t>(fate)]; }

  bool operator==(Sample const&) const = default;
};

struct QueueSample {
  std::uint64_t pkts = 0;
  std::uint64_t octets = 0;
  std::uint64_t dropPkts = 0;
  std::uint64_t dropOctets = 0;

  bool operator==(QueueSample const&) const = default;
};

class Port {
 public:
  void add(Flow const& flow);
  // Ends every flow that runs at `when`, or would start later.
  void stopAt(Seconds when);
  // Every counter goes back to 0, as after a reset of the chip's hardware.
  void resetAt(Seconds when);
  // Until the first reset every counter is ahead by this much: what a counter shows near its end.
  void countsFrom(std::uint64_t count) { _countsFrom = count; }
  void hasOptionalCounters(bool has) { _optionalCounters = has; }
  // From `when` on the error total is one more than the sum of its classes.
  void breakInErrorsAt(Seconds when) { _inErrorsBroken = when; }
  void breakOutErrorsAt(Seconds when) { _outErrorsBroken = when; }
  // A port is there from the start, until it vanishes; it can come and go any number of times.
  void appearAt(Seconds when);
  void vanishAt(Seconds when);

  bool presentAt(Seconds now) const;
  // The next time after `now` at which the port appears or vanishes; Flow::forever when none is.
  Seconds nextChangeAfter(Seconds now) const;

  Sample sample(Seconds now) const;
  std::array<QueueSample, egressQueues> queues(Seconds now) const;
  std::uint64_t aclDrops(Seconds now) const;

 private:
  struct Presence {
    Seconds from;
    bool present;
  };
  // The start of what the counters hold at `now`: the last reset, or the beginning.
  struct Start {
    Seconds when;
    std::uint64_t count;
  };

  Start startOf(Seconds now) const;
  void presenceIs(Seconds when, bool present);

  std::vector<Flow> _flows;
  std::vector<Seconds> _resets;     // in order of time
  std::vector<Presence> _presence;  // in order of time
  std::uint64_t _countsFrom = 0;
  Seconds _inErrorsBroken = Flow::forever;
  Seconds _outErrorsBroken = Flow::forever;
  bool _optionalCounters = true;
};

}  // namespace Hardware::Simulated
