// The counters of an interface by name, as views show them: of Ethernet and of VLAN interfaces.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "reader/basis.h"
#include "reader/snapshot.h"

namespace Show {

// What was counted since the clear. A clear that is ahead of the total is of other counters than
// these, and says nothing.
std::uint64_t since(std::uint64_t total, std::uint64_t clear);

class Counters {
 public:
  // None has a value where the interface has no row, or was not sampled yet. Keeps a reference.
  Counters(Intf const& intf, Basis basis) : _intf(intf), _basis(basis) {}

  // A counter of Interface::kCounterNames that is no array. Nothing where the chip cannot count it
  // or gave no value, or the row has no such counter.
  std::optional<std::uint64_t> operator[](std::string_view name) const;
  // The valid entries of one of the arrays; nothing where the chip cannot count them.
  std::optional<std::vector<std::optional<std::uint64_t>>> entries(std::string_view name) const;

  // The sum of what there is a value of; nothing when that is none of them.
  std::optional<std::uint64_t> inPkts() const;
  std::optional<std::uint64_t> outPkts() const;

 private:
  bool counted(std::string_view name) const;

  Intf const& _intf;
  Basis _basis;
};

// Whether the name is one of the arrays of Interface::kCounterNames.
bool isArray(std::string_view counterName);

// The rates of the row, which the agent averages over the load interval; nothing before there are
// two samples, and once the link is gone.
std::optional<Interface::IntfRates> rates(Intf const& intf);

}  // namespace Show
