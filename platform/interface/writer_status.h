// What the agent says of whose counters it writes.
#pragma once

#include "platform/kel/notifier.h"
#include "platform/pekt/intf_id.h"

namespace Interface {

// A set of interfaces, with a flag each.
class IntfFlags : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<IntfFlags> {
   public:
    virtual void onIntf(Pekt::IntfId) {}
    virtual void onIntfkelImmediate() {}
    virtual void onIntf() {}
  };
  class Notifiee : public NotifieeConst {};
  using Map = Kel::RbTreeMap<bool, Pekt::IntfId>;

  Map const& intf() const { return _intf; }
  // Virtual: a recorder in a test derives from it.
  virtual void intfIs(Pekt::IntfId const& id, bool flag) {
    insert(_intf, id, flag, &NotifieeConst::onIntf);
  }
  virtual void intfDel(Pekt::IntfId const& id) { erase(_intf, id, &NotifieeConst::onIntf); }

 private:
  Map _intf;
};

// Interfaces whose Ethernet counters this writer publishes.
class EthIntfCounterWriterStatus : public IntfFlags {};
// VLAN interfaces whose counters this writer publishes.
class VlanIntfCounterWriterStatus : public IntfFlags {};
// Whether ACL drop counting is wanted, by interface.
class AclDropConfig : public IntfFlags {};

namespace QueueCounter {
// Interfaces for which queue counters are written.
class WriterConfig : public IntfFlags {};
}  // namespace QueueCounter

}  // namespace Interface
