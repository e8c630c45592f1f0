// Directories of the interfaces' configuration and status, by interface.
#pragma once

#include "platform/interface/intf_config.h"
#include "platform/interface/intf_status.h"
#include "platform/kel/notifier.h"
#include "platform/pekt/intf_id.h"

namespace Interface {

// Configuration entities by interface. Another object under a key is told, the same object is not.
template <class Config>
class IntfConfigDirBase : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<IntfConfigDirBase> {
   public:
    virtual void onIntfConfig(Pekt::IntfId) {}
    virtual void onIntfConfigkelImmediate() {}
    virtual void onIntfConfig() {}
  };
  class Notifiee : public NotifieeConst {};
  using Map = Kel::RbTreeMap<Kel::Ptr<Config>, Pekt::IntfId>;

  Map const& intfConfig() const { return _intfConfig; }
  // Null if there is none.
  Kel::Ptr<Config const> intfConfig(Pekt::IntfId const& id) const {
    auto const it = _intfConfig.find(id);
    return it == _intfConfig.end() ? nullptr : it->second;
  }
  void intfConfigIs(Pekt::IntfId const& id, Kel::Ptr<Config> const& config) {
    this->insert(_intfConfig, id, config, &NotifieeConst::onIntfConfig);
  }
  void intfConfigDel(Pekt::IntfId const& id) {
    this->erase(_intfConfig, id, &NotifieeConst::onIntfConfig);
  }
  void intfConfigDelAll() {
    this->eraseAll(_intfConfig, &NotifieeConst::onIntfConfigkelImmediate,
                   &NotifieeConst::onIntfConfig);
  }

 private:
  Map _intfConfig;
};

// Status entities by interface. Another object under a key is told, the same object is not.
template <class Status>
class IntfStatusDirBase : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<IntfStatusDirBase> {
   public:
    virtual void onIntfStatus(Pekt::IntfId) {}
    virtual void onIntfStatuskelImmediate() {}
    virtual void onIntfStatus() {}
  };
  class Notifiee : public NotifieeConst {};
  using Map = Kel::RbTreeMap<Kel::Ptr<Status>, Pekt::IntfId>;

  Map const& intfStatus() const { return _intfStatus; }
  // Null if there is none.
  Kel::Ptr<Status const> intfStatus(Pekt::IntfId const& id) const {
    auto const it = _intfStatus.find(id);
    return it == _intfStatus.end() ? nullptr : it->second;
  }
  void intfStatusIs(Pekt::IntfId const& id, Kel::Ptr<Status> const& status) {
    this->insert(_intfStatus, id, status, &NotifieeConst::onIntfStatus);
  }
  void intfStatusDel(Pekt::IntfId const& id) {
    this->erase(_intfStatus, id, &NotifieeConst::onIntfStatus);
  }
  void intfStatusDelAll() {
    this->eraseAll(_intfStatus, &NotifieeConst::onIntfStatuskelImmediate,
                   &NotifieeConst::onIntfStatus);
  }

 private:
  Map _intfStatus;
};

class AllEthPhyIntfConfigDir : public IntfConfigDirBase<EthPhyIntfConfig> {};
class AllEthPhyIntfStatusDir : public IntfStatusDirBase<EthPhyIntfStatus> {};
class VlanIntfConfigDir : public IntfConfigDirBase<VlanIntfConfig> {};
class VlanIntfStatusDir : public IntfStatusDirBase<VlanIntfStatus> {};

}  // namespace Interface
