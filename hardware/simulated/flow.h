// One steady stream of equal frames through a simulated port, and how many of them have passed.
//
// A flow is a value: how much of it has passed is a function of the time alone. Whoever asks every
// second and whoever asks once an hour are told the same, and asking changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "platform/kel/system.h"

namespace Hardware::Simulated {

// Seconds since the chip was switched on.
using Seconds = Kel::Seconds;

// What becomes of a flow's frames, named as the counter that counts them.
enum class Fate : std::uint8_t {
  inUcastPkts,
  inMulticastPkts,
  inBroadcastPkts,
  inDiscards,
  inUnknownProtos,
  outUcastPkts,
  outMulticastPkts,
  outBroadcastPkts,
  outDiscards,
  // The five classes of receive errors.
  alignmentErrors,
  fcsErrors,
  frameTooLongs,
  frameTooShorts,
  internalMacReceiveErrors,
  // The five classes of transmit errors.
  sqeTestErrors,
  lateCollisions,
  excessiveCollisions,
  internalMacTransmitErrors,
  carrierSenseErrors,
  inPauseFrames,
  outPauseFrames,
  aclDrops,
};
inline constexpr std::size_t fateCount = 22;

std::string_view name(Fate fate);
std::optional<Fate> fateNamed(std::string_view name);

struct Flow {
  static constexpr Seconds forever = std::numeric_limits<double>::infinity();

  Fate fate = Fate::inUcastPkts;
  double framesPerSecond = 0.0;  // while it flows
  std::uint32_t octets = 64;     // of each frame
  std::uint8_t queue = 0;        // the egress queue of frames that go out, 0 to 7
  Seconds from = 0.0;
  Seconds until = forever;
  // Bursts: of every `every` seconds it flows for the first `lasts`. 0 means that it never pauses.
  Seconds every = 0.0;
  Seconds lasts = 0.0;

  // Whole frames that have passed at `now`. Never falls as `now` grows.
  std::uint64_t passed(Seconds now) const;
};

}  // namespace Hardware::Simulated
