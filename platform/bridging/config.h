// The VLANs of the bridge.
#pragma once

#include "platform/bridging/vlan_id.h"
#include "platform/kel/notifier.h"

namespace Bridging {

// Configuration of one VLAN.
struct VlanConfig {
  VlanId vlanId;
  // Kept by the switch for its own use, such as the VLAN behind a routed port: no VLAN of users.
  bool internal = false;

  bool operator==(VlanConfig const&) const = default;
};

class Config : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<Config> {
   public:
    virtual void onVlanConfig(VlanId) {}
    virtual void onVlanConfigkelImmediate() {}
    virtual void onVlanConfig() {}
  };
  class Notifiee : public NotifieeConst {};
  using VlanMap = Kel::RbTreeMap<VlanConfig, VlanId>;

  // The VLANs that are configured, by number.
  VlanMap const& vlanConfig() const { return _vlanConfig; }
  void vlanConfigIs(VlanConfig const& config) {
    insert(_vlanConfig, config.vlanId, config, &NotifieeConst::onVlanConfig);
  }
  void vlanConfigDel(VlanId vlanId) { erase(_vlanConfig, vlanId, &NotifieeConst::onVlanConfig); }
  void vlanConfigDelAll() {
    eraseAll(_vlanConfig, &NotifieeConst::onVlanConfigkelImmediate, &NotifieeConst::onVlanConfig);
  }

 private:
  VlanMap _vlanConfig;
};

}  // namespace Bridging
