#include "hardware/simulated/chip.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace Hardware::Simulated {

namespace {

// SplitMix64 (Steele, Lea, Flood: Fast splittable pseudorandom number generators, OOPSLA 2014). The
// standard library's distributions give other numbers with other libraries; these are the same
// everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : _state(seed) {}

  std::uint64_t next() {
    std::uint64_t z = (_state += 0x9e3779b97f4a7c15);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
  }
  // From 0 up to, and without, 1.
  double fraction() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  double between(double low, double high) { return low + (high - low) * fraction(); }
  std::uint8_t below(std::uint8_t bound) { return static_cast<std::uint8_t>(next() % bound); }

 private:
  std::uint64_t _state;
};

Port seededPort(Random random) {
  constexpr std::array<std::uint32_t, 7> sizes = {64, 96, 200, 400, 800, 1500, 9000};
  Port port;
  auto const steady = [&](Fate fate, double low, double high) {
    port.add({.fate = fate,
              .framesPerSecond = random.between(low, high),
              .octets = sizes[random.below(sizes.size())],
              .queue = random.below(egressQueues)});
  };
  auto const bursty = [&](Fate fate, double low, double high) {
    Seconds const every = random.between(5.0, 60.0);
    port.add({.fate = fate,
              .framesPerSecond = random.between(low, high),
              .octets = sizes[random.below(sizes.size())],
              .queue = random.below(egressQueues),
              .every = every,
              .lasts = every * random.between(0.05, 0.5)});
  };
  for (Fate const fate : {Fate::inUcastPkts, Fate::outUcastPkts}) {
    steady(fate, 100.0, 100'000.0);
    bursty(fate, 10'000.0, 1'000'000.0);
  }
  steady(Fate::inMulticastPkts, 0.1, 100.0);
  steady(Fate::outBroadcastPkts, 0.1, 100.0);
  bursty(Fate::outDiscards, 0.0, 1'000.0);
  steady(Fate::fcsErrors, 0.0, 0.1);
  bursty(Fate::aclDrops, 0.0, 100.0);
  return port;
}

// Traffic to the CPU: steady, with a burst of what is sent again.
Port seededClass(Random random) {
  Port port;
  double const rate = random.between(0.5, 500.0);
  port.add({.fate = Fate::inUcastPkts,
            .framesPerSecond = rate,
            .octets = static_cast<std::uint32_t>(random.between(64.0, 512.0))});
  port.add({.fate = Fate::inUcastPkts,
            .framesPerSecond = 5.0 * rate,
            .every = random.between(10.0, 60.0),
            .lasts = 2.0});
  return port;
}

// Frames that are forwarded, of all kinds.
Port seededVlan(Random random) {
  Port port;
  for (auto const& [fate, high] : {std::pair(Fate::inUcastPkts, 50'000.0),
                                   {Fate::outUcastPkts, 50'000.0},
                                   {Fate::inMulticastPkts, 500.0},
                                   {Fate::outMulticastPkts, 500.0},
                                   {Fate::inBroadcastPkts, 50.0},
                                   {Fate::outBroadcastPkts, 50.0}})
    port.add({.fate = fate,
              .framesPerSecond = random.between(high / 10.0, high),
              .octets = static_cast<std::uint32_t>(random.between(64.0, 1500.0))});
  return port;
}

constexpr std::array<char const*, 6> coppClassNames = {"copp-bgp",  "copp-default", "copp-icmp",
                                                       "copp-ospf", "copp-snmp",    "copp-ssh"};
constexpr std::uint32_t firstVlan = 10;

}  // namespace

Chip Chip::seeded(std::uint32_t ports, std::uint64_t seed, std::uint32_t vlanInterfaces) {
  Chip chip;
  chip._ports.reserve(ports);
  // A port's own numbers, whatever else there is.
  auto const own = [seed](std::uint64_t kind, std::uint64_t number) {
    return Random(Random(Random(seed).next() + (kind << 32 | number)).next());
  };
  for (std::uint32_t number = 1; number <= ports; ++number)
    chip.port(Pekt::IntfId("Ethernet" + std::to_string(number))) = seededPort(own(0, number));
  for (std::uint32_t number = 0; number < vlanInterfaces; ++number)
    chip.port(Pekt::IntfId("Vlan" + std::to_string(firstVlan + number))) =
        seededPort(own(1, number));
  for (std::uint32_t number = 0; number < vlanInterfaces; ++number)
    chip.vlan(Bridging::VlanId(firstVlan + number)) = seededVlan(own(3, number));
  for (std::size_t number = 0; number < coppClassNames.size(); ++number)
    chip.coppClass(coppClassNames[number]) = seededClass(own(2, number));
  return chip;
}

Port const* Chip::find(Pekt::IntfId const& intfId) const {
  auto const found = _ports.find(intfId);
  return found == _ports.end() ? nullptr : &found->second;
}

std::vector<Pekt::IntfId> Chip::portsAt(Seconds now) const {
  std::vector<Pekt::IntfId> present;
  for (auto const& [intfId, port] : _ports) {
    if (port.presentAt(now)) present.push_back(intfId);
  }
  std::sort(present.begin(), present.end());
  return present;
}

Seconds Chip::nextChangeAfter(Seconds now) const {
  Seconds next = Flow::forever;
  for (auto const& [intfId, port] : _ports) next = std::min(next, port.nextChangeAfter(now));
  return next;
}

}  // namespace Hardware::Simulated
