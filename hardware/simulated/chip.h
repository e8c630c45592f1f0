// A chip that is arithmetic: ports with names, each a function of the time.
//
//   auto chip = Chip::seeded(48, 7);          // 48 ports, Ethernet1 to Ethernet48
//   chip.port(Pekt::IntfId("Ethernet3")).resetAt(20);
//   chip.find(Pekt::IntfId("Ethernet3"))->sample(21);
//
// Two chips made alike count alike, however often and in whatever order they are asked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "hardware/simulated/port.h"
#include "platform/bridging/vlan_id.h"
#include "platform/pekt/intf_id.h"

namespace Hardware::Simulated {

class Chip {
 public:
  // Ports Ethernet1 to Ethernet<ports> under a mix of traffic that the seed decides: steady and
  // bursty flows of several sizes both ways, some discards and errors. A port's traffic depends on
  // the seed and its own number, not on how many ports there are. The same of VLAN interfaces,
  // which are Vlan10 and those after it, of the VLANs of the same numbers, and of a few classes of
  // traffic to the CPU port.
  static Chip seeded(std::uint32_t ports, std::uint64_t seed, std::uint32_t vlanInterfaces = 0);

  // The port of that name, made without traffic if there is none. VLAN interfaces are ports too.
  // The reference holds as long as the chip.
  Port& port(Pekt::IntfId const& intfId) { return _ports[intfId]; }
  // Null if the chip has no such port.
  Port const* find(Pekt::IntfId const& intfId) const;

  // The class of control-plane policing of that name, made without traffic if there is none. What
  // counts is what comes in.
  Port& coppClass(std::string const& name) { return _coppClasses[name]; }
  std::map<std::string, Port> const& coppClasses() const { return _coppClasses; }

  // A VLAN, made without traffic if there is none. What counts is frames that are forwarded.
  Port& vlan(Bridging::VlanId vlanId) { return _vlans[vlanId]; }
  std::map<Bridging::VlanId, Port> const& vlans() const { return _vlans; }

  // The ports that are there at `now`, in the natural order of their names.
  std::vector<Pekt::IntfId> portsAt(Seconds now) const;
  // The next time after `now` at which a port appears or vanishes; Flow::forever when none does.
  Seconds nextChangeAfter(Seconds now) const;

 private:
  struct Hash {
    std::size_t operator()(Pekt::IntfId const& intfId) const { return intfId.hash(); }
  };

  std::unordered_map<Pekt::IntfId, Port, Hash> _ports;
  std::map<std::string, Port> _coppClasses;
  std::map<Bridging::VlanId, Port> _vlans;
};

}  // namespace Hardware::Simulated
