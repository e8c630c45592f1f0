// Configuration of interfaces.
#pragma once

#include "platform/interface/load_interval.h"
#include "platform/kel/notifier.h"

namespace Interface {

// What every configuration of interfaces has.
class IntfConfig : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<IntfConfig> {
   public:
    virtual void onLoadInterval() {}
  };
  class Notifiee : public NotifieeConst {};

  LoadInterval loadInterval() const { return _loadInterval; }
  void loadIntervalIs(LoadInterval interval) {
    assign(_loadInterval, interval, &NotifieeConst::onLoadInterval);
  }

 private:
  LoadInterval _loadInterval;
};

// That of a configuration; one that is missing has none.
template <class Config>
LoadInterval loadIntervalOf(Kel::Ptr<Config> const& config) {
  return config ? config->loadInterval() : LoadInterval();
}

// Settings for all interfaces that have none of their own.
class GlobalIntfConfig : public IntfConfig {};
// Configuration of one Ethernet interface.
class EthPhyIntfConfig : public IntfConfig {};
// Configuration of one VLAN interface.
class VlanIntfConfig : public IntfConfig {};

}  // namespace Interface
