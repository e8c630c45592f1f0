#include "hardware/simulated/flow.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Hardware::Simulated {

namespace {

constexpr std::array<std::string_view, fateCount> names = {
    "inUcastPkts",         "inMulticastPkts",
    "inBroadcastPkts",     "inDiscards",
    "inUnknownProtos",     "outUcastPkts",
    "outMulticastPkts",    "outBroadcastPkts",
    "outDiscards",         "alignmentErrors",
    "fcsErrors",           "frameTooLongs",
    "frameTooShorts",      "internalMacReceiveErrors",
    "sqeTestErrors",       "lateCollisions",
    "excessiveCollisions", "internalMacTransmitErrors",
    "carrierSenseErrors",  "inPauseFrames",
    "outPauseFrames",      "aclDrops",
};
static_assert(static_cast<std::size_t>(Fate::aclDrops) + 1 == fateCount);

std::uint64_t whole(double frames) { return static_cast<std::uint64_t>(frames); }

}  // namespace

std::string_view name(Fate fate) { return names[static_cast<std::size_t>(fate)]; }

std::optional<Fate> fateNamed(std::string_view name) {
  auto const found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return static_cast<Fate>(found - names.begin());
}

std::uint64_t Flow::passed(Seconds now) const {
  Seconds const since = std::min(now, until) - from;
  if (!(since > 0.0)) return 0;
  if (every == 0.0) return whole(framesPerSecond * since);
  // Whole bursts are counted in whole frames: added up as seconds, they could round down where one
  // burst ends and the next begins, and the count would step back.
  double const bursts = std::floor(since / every);
  Seconds const rest = std::clamp(since - bursts * every, 0.0, lasts);
  return whole(bursts) * whole(framesPerSecond * lasts) + whole(framesPerSecond * rest);
}

}  // namespace Hardware::Simulated
