// Status of interfaces.
#pragma once

#include <cstdint>

#include "platform/interface/intf_state.h"
#include "platform/kel/notifier.h"

namespace Interface {

// Status of one Ethernet interface.
class EthPhyIntfStatus : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<EthPhyIntfStatus> {
   public:
    virtual void onSpeed() {}
    virtual void onOperState() {}
  };
  class Notifiee : public NotifieeConst {};

  // Bits per second; 0: unknown.
  std::uint64_t speed() const { return _speed; }
  void speedIs(std::uint64_t speed) { assign(_speed, speed, &NotifieeConst::onSpeed); }
  OperState operState() const { return _operState; }
  void operStateIs(OperState state) { assign(_operState, state, &NotifieeConst::onOperState); }

 private:
  std::uint64_t _speed = 0;
  OperState _operState = OperState::none;
};

// Status of one VLAN interface.
class VlanIntfStatus : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<VlanIntfStatus> {
   public:
    virtual void onOperState() {}
  };
  class Notifiee : public NotifieeConst {};

  OperState operState() const { return _operState; }
  void operStateIs(OperState state) { assign(_operState, state, &NotifieeConst::onOperState); }

 private:
  OperState _operState = OperState::none;
};

}  // namespace Interface
