/// What stands in for the kernel's bridges and the counts of their VLANs.
#pragma once

#include <sys/eventfd.h>

#include <string>
#include <vector>

#include "hardware/linux/bridge_monitor.h"
#include "hardware/linux/vlan_stats.h"
#include "platform/glim/file_descriptor.h"

namespace Hardware::Linux::Test {

inline VlanSet vlanSet(std::initializer_list<std::size_t> ids) {
  VlanSet set;
  for (std::size_t const id : ids) set.set(id);
  return set;
}

/// What the kernel counts, as a test says; nothing can be read while there is an error.
struct VlanKernel {
  VlanCountsByBridge counts;
  std::error_code error;
};

class VlanStatsStandIn final : public VlanStatsSource {
 public:
  explicit VlanStatsStandIn(VlanKernel const& kernel) : _kernel(kernel) {}
  std::error_code refresh(double) override { return _kernel.error; }
  VlanKernelCounts const* find(int bridge, std::uint16_t vlan) const override {
    auto const at = _kernel.counts.find({bridge, vlan});
    return _kernel.error || at == _kernel.counts.end() ? nullptr : &at->second;
  }

 private:
  VlanKernel const& _kernel;
};

/// The bridges that a test tells, at once. There is always news to be read.
class BridgesStandIn final : public BridgeSource {
 public:
  explicit BridgesStandIn(std::string name = {}) : all(std::move(name)) {}

  std::error_code start() override {
    ++starts;
    _isOpen = _isOpen || !error || opensAllTheSame;
    return error;
  }
  std::error_code poll() override {
    ++polls;
    return error;
  }
  int fd() const override { return _isOpen ? _descriptor.get() : -1; }
  BridgeVlans const& vlans() const override { return all; }
  VlanSet takeGone() override { return all.takeGone(); }
  std::error_code switchVlanStatsOn(int bridge) override {
    switched.push_back(bridge);
    return switchError;
  }

  BridgeVlans all;
  std::error_code error;
  bool opensAllTheSame = false;  // as where only the list failed
  int starts = 0, polls = 0;
  std::vector<int> switched;
  std::error_code switchError;

 private:
  Glim::FileDescriptor const _descriptor{eventfd(1, EFD_CLOEXEC)};
  bool _isOpen = false;
};

}  // namespace Hardware::Linux::Test
