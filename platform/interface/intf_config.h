// Configuration of interfaces.
#pragma once

#include "platform/interface/rates.h"
#include "platform/kel/notifier.h"

namespace Interface {

// Settings for all interfaces.
class GlobalIntfConfig : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<GlobalIntfConfig> {
   public:
    virtual void onLoadInterval() {}
  };
  class Notifiee : public NotifieeConst {};

  // For interfaces that have none of their own.
  LoadInterval loadInterval() const { return _loadInterval; }
  void loadIntervalIs(LoadInterval interval) {
    assign(_loadInterval, interval, &NotifieeConst::onLoadInterval);
  }

 private:
  LoadInterval _loadInterval;
};

// Configuration of one Ethernet interface.
class EthPhyIntfConfig : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<EthPhyIntfConfig> {
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

// Configuration of one VLAN interface.
class VlanIntfConfig : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<VlanIntfConfig> {
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

}  // namespace Interface
