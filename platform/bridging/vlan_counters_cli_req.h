// Requests from the command line to the counters of VLANs.
#pragma once

#include "platform/bridging/vlan_id.h"
#include "platform/kel/notifier.h"

namespace Bridging {

class VlanCountersCliReq : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<VlanCountersCliReq> {
   public:
    virtual void onClearCountersRequest(VlanId) {}
    virtual void onClearCountersRequestkelImmediate() {}
    virtual void onClearCountersRequest() {}
  };
  class Notifiee : public NotifieeConst {};
  using RequestMap = Kel::RbTreeMap<bool, VlanId>;

  // VLANs of which the counters are to be cleared. A request stands until it is removed; one that
  // stands already is made anew by changing its flag, which means nothing else.
  RequestMap const& clearCountersRequest() const { return _clearCountersRequest; }
  void clearCountersRequestIs(VlanId vlanId, bool flag) {
    insert(_clearCountersRequest, vlanId, flag, &NotifieeConst::onClearCountersRequest);
  }
  void clearCountersRequestDel(VlanId vlanId) {
    erase(_clearCountersRequest, vlanId, &NotifieeConst::onClearCountersRequest);
  }
  void clearCountersRequestDelAll() {
    eraseAll(_clearCountersRequest, &NotifieeConst::onClearCountersRequestkelImmediate,
             &NotifieeConst::onClearCountersRequest);
  }

 private:
  RequestMap _clearCountersRequest;
};

}  // namespace Bridging
