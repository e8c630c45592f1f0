// The policy-map state machines: one per policy map of the control plane, in two flavours.
#pragma once

#include <string_view>

#include "counters/pollers/helper.h"
#include "platform/kel/state_machine.h"
#include "platform/kel/trace.h"
#include "platform/qos/policy_map_status.h"

namespace Oru::Counters {

// Where a statement stands in the trace: its text, and the line that is its own by contract.
struct CoppTrace {
  char const* text;
  unsigned line;
  char const* function;
};

// Watches the hardware status of one policy map, and asks the helper to reset the CPU queue
// counters of each of its classes whenever that class is told: once when it comes, and once at each
// change. A class that goes is left as it is.
//
// Self is the flavour: its type name, kTypeName, and its traces, kInitialized and kClass.
template <class Self>
class CoppSm : public Kel::StateMachine<Self, Kel::ReactorOwner> {
 public:
  CoppSm(Kel::Name name, Kel::Ptr<Qos::PolicyMapHwStatus const> const& pmap,
         Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper);
  ~CoppSm() override;

  Kel::Name const& name() const { return _name; }

  Kel::Ptr<Qos::PolicyMapHwStatus const> pmap() const { return _pmap.notifier(); }
  void pmapIs(Kel::Ptr<Qos::PolicyMapHwStatus const> const& pmap);
  Kel::Ptr<Qos::PolicyMapHwStatus const> pmapDel();

  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }
  // Of the policy map; 0 while none is watched.
  Qos::MapType type() const { return _pmap ? pmap()->type() : Qos::MapType{}; }

  bool initialized() const { return _initialized; }
  // Each change of the flag, either way, runs handleInitialized() and REQUIRES: pmap().
  void initializedIs(bool initialized);

  // Resets every class of the policy map. REQUIRES: pmap().
  void handleInitialized();
  // Resets one class, if the policy map has it. REQUIRES: pmap().
  void handleClass(Kel::Name cmapName);

  static constexpr auto kelDescription() {
    using Sm = CoppSm;
    return Kel::describe(
        Self::kTypeName, Kel::key("name", &Sm::_name), Kel::watchedParameter("pmap", &Sm::_pmap),
        Kel::parameter("platformHelper", &Sm::_platformHelper), Kel::value("type", &Sm::type),
        Kel::value("initialized", &Sm::initialized, &Sm::initializedIs, &Sm::changeRefusal),
        Kel::operation("handleClass", &Sm::handleClass, &Sm::classRefusal),
        Kel::operation("handleInitialized", &Sm::handleInitialized, &Sm::refusal));
  }

 private:
  class KelPmap;

  // All classes, one by one; what becomes of a change of the collection as a whole. A helper that
  // drops or replaces the policy map ends it.
  void handleClasses();

  static std::string refusal(CoppSm const& sm);
  static std::string changeRefusal(CoppSm const& sm, bool const& initialized) {
    return initialized == sm.initialized() ? "" : refusal(sm);
  }
  static std::string classRefusal(CoppSm const& sm, Kel::Name const&) { return refusal(sm); }

  Kel::Name const _name;
  Kel::Input<KelPmap, Qos::PolicyMapHwStatus const> _pmap;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  bool _initialized = false;
};

// Of a static policy map.
class CountersCoppSm final : public CoppSm<CountersCoppSm> {
 public:
  using CoppSm::CoppSm;
  // Makes one with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<CountersCoppSm> CountersCoppSmIs(Params const&... params) {
    return Kel::instance<CountersCoppSm>(params...);
  }
  static constexpr std::string_view kTypeName = "Oru::Counters::CountersCoppSm";
  static constexpr CoppTrace kInitialized{"void Oru::Counters::CountersCoppSm::handleInitialized()",
                                          255, "handleInitialized"};
  static constexpr CoppTrace kClass{"void Oru::Counters::CountersCoppSm::handleClass(Kel::Name)",
                                    262, "handleClass"};
  static Kel::TypeNode const _kelType;
};

// Of a dynamic policy map.
class CountersDynamicCoppSm final : public CoppSm<CountersDynamicCoppSm> {
 public:
  using CoppSm::CoppSm;
  template <class... Params>
  static Kel::Ptr<CountersDynamicCoppSm> CountersDynamicCoppSmIs(Params const&... params) {
    return Kel::instance<CountersDynamicCoppSm>(params...);
  }
  static constexpr std::string_view kTypeName = "Oru::Counters::CountersDynamicCoppSm";
  static constexpr CoppTrace kInitialized{
      "void Oru::Counters::CountersDynamicCoppSm::handleInitialized()", 269, "handleInitialized"};
  static constexpr CoppTrace kClass{
      "void Oru::Counters::CountersDynamicCoppSm::handleClass(Kel::Name)", 276, "handleClass"};
  static Kel::TypeNode const _kelType;
};

extern template class CoppSm<CountersCoppSm>;
extern template class CoppSm<CountersDynamicCoppSm>;

}  // namespace Oru::Counters
