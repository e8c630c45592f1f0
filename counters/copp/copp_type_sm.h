// The policy-map type state machines: one per type of policy maps, in two flavours.
#pragma once

#include "counters/copp/copp_sm.h"
#include "platform/kel/hash_map.h"

namespace Oru::Counters {

// Watches the hardware status of all policy maps of one type, and owns the state machines of those
// that its agent sets on it. A policy map that comes or goes is traced and changes nothing else:
// which of them is watched, the agent says, through coppSmIs, coppSmDel and doPrepareToDie.
//
// Walks the policy maps that there are before its constructor returns.
//
// Self is the flavour: its type name and its traces; Child is the state machine of a policy map.
template <class Self, class Child>
class CoppTypeSm : public Kel::StateMachine<Self, Kel::ReactorOwner> {
 public:
  // REQUIRES: pmapType.
  CoppTypeSm(Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType,
             Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper);
  ~CoppTypeSm() override;

  // What its owner files it under: the type of what it watches, 0 while that is nothing.
  Qos::MapType fwkKey() const { return _pmapType ? pmapType()->type() : Qos::MapType{}; }

  Kel::Ptr<Qos::PolicyMapTypeHwStatus const> pmapType() const { return _pmapType.notifier(); }
  void pmapTypeIs(Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType);
  Kel::Ptr<Qos::PolicyMapTypeHwStatus const> pmapTypeDel();

  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }

  // Finds the policy map's state machine, which must have been made with these parameters (Throws
  // Kel::NameInUseException otherwise), or makes it.
  Kel::Ptr<Child> coppSmIs(Kel::Name const& name,
                           Kel::Ptr<Qos::PolicyMapHwStatus const> const& pmap,
                           Kel::Ptr<OruHelper::OruHelperCountersSm> const& helper) {
    return _coppSm.newMember(name, name, pmap, helper);
  }
  Kel::Ptr<Child> coppSm(Kel::Name const& name) const { return _coppSm.member(name); }
  Kel::HashMap<Child, Kel::Name> const& coppSm() const { return _coppSm; }
  void coppSmDel(Kel::Name const& name) { _coppSm.deleteMember(name); }
  void coppSmDelAll() { _coppSm.emptyAllBuckets(); }

  // The name of the system's policy map of the control plane; for the agent, nothing here reads it.
  Kel::String const& coppPMapName() const { return _coppPMapName; }
  void coppPMapNameIs(Kel::String const& name) { _coppPMapName = name; }

  bool initialized() const { return _initialized; }
  // Only stores: the constructor has run handleInitialized().
  void initializedIs(bool initialized) { _initialized = initialized; }

  // Handles every policy map, in the order of their keys. REQUIRES: pmapType().
  void handleInitialized();
  void handlePolicyMap(Qos::PolicyMapHwStatusKey const& key);
  // Empties coppSm.
  void doPrepareToDie();

  static constexpr auto kelDescription() {
    using Sm = CoppTypeSm;
    return Kel::describe(Self::kTypeName, Kel::watchedParameter("pmapType", &Sm::_pmapType),
                         Kel::parameter("platformHelper", &Sm::_platformHelper),
                         Kel::collection("coppSm", &Sm::_coppSm),
                         Kel::value("coppPMapName", &Sm::coppPMapName, &Sm::coppPMapNameIs),
                         Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
                         Kel::operation("handlePolicyMap", &Sm::handlePolicyMap),
                         Kel::operation("doPrepareToDie", &Sm::doPrepareToDie),
                         Kel::operation("handleInitialized", &Sm::handleInitialized, &Sm::refusal),
                         Kel::operation("coppSmIs", &Sm::coppSmInputNamed),
                         Kel::operation("coppSmIs", &Sm::coppSmNamed),
                         Kel::operation("coppSmDel", &Sm::coppSmDel),
                         Kel::operation("coppSmDelAll", &Sm::coppSmDelAll));
  }

 private:
  class KelPmapType;

  // All policy maps, one by one; what becomes of a change of the collection as a whole.
  void handlePolicyMaps();

  static std::string refusal(CoppTypeSm const& sm);

  // coppSmIs for tools, which can name a policy map but not hand one over: one of those watched, by
  // its name and direction, with this object's helper. Throw Kel::RangeException where there is
  // none.
  static void coppSmNamed(CoppTypeSm& sm, Kel::Name const& name, Qos::Direction direction);
  static void coppSmInputNamed(CoppTypeSm& sm, Kel::Name const& name) {
    coppSmNamed(sm, name, Qos::Direction::input);
  }

  Kel::Input<KelPmapType, Qos::PolicyMapTypeHwStatus const> _pmapType;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  Kel::HashMap<Child, Kel::Name> _coppSm;
  Kel::String _coppPMapName = "copp-system-policy";
  bool _initialized = false;
};

// Of the static policy maps.
class CountersCoppTypeSm final : public CoppTypeSm<CountersCoppTypeSm, CountersCoppSm> {
 public:
  using CoppTypeSm::CoppTypeSm;
  // Makes one with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<CountersCoppTypeSm> CountersCoppTypeSmIs(Params const&... params) {
    return Kel::instance<CountersCoppTypeSm>(params...);
  }
  static constexpr std::string_view kTypeName = "Oru::Counters::CountersCoppTypeSm";
  static constexpr CoppTrace kInitialized{
      "void Oru::Counters::CountersCoppTypeSm::handleInitialized()", 209, "handleInitialized"};
  static constexpr CoppTrace kPolicyMap{
      "void Oru::Counters::CountersCoppTypeSm::handlePolicyMap(const Qos::PolicyMapHwStatusKey&)",
      219, "handlePolicyMap"};
  static constexpr CoppTrace kPrepareToDie{
      "void Oru::Counters::CountersCoppTypeSm::doPrepareToDie()", 224, "doPrepareToDie"};
  static Kel::TypeNode const _kelType;
};

// Of the dynamic policy maps.
class CountersDynamicCoppTypeSm final
    : public CoppTypeSm<CountersDynamicCoppTypeSm, CountersDynamicCoppSm> {
 public:
  using CoppTypeSm::CoppTypeSm;
  template <class... Params>
  static Kel::Ptr<CountersDynamicCoppTypeSm> CountersDynamicCoppTypeSmIs(Params const&... params) {
    return Kel::instance<CountersDynamicCoppTypeSm>(params...);
  }
  static constexpr std::string_view kTypeName = "Oru::Counters::CountersDynamicCoppTypeSm";
  static constexpr CoppTrace kInitialized{
      "void Oru::Counters::CountersDynamicCoppTypeSm::handleInitialized()", 231,
      "handleInitialized"};
  static constexpr CoppTrace kPolicyMap{
      "void Oru::Counters::CountersDynamicCoppTypeSm::handlePolicyMap(const "
      "Qos::PolicyMapHwStatusKey&)",
      242, "handlePolicyMap"};
  static constexpr CoppTrace kPrepareToDie{
      "void Oru::Counters::CountersDynamicCoppTypeSm::doPrepareToDie()", 247, "doPrepareToDie"};
  static Kel::TypeNode const _kelType;
};

extern template class CoppTypeSm<CountersCoppTypeSm, CountersCoppSm>;
extern template class CoppTypeSm<CountersDynamicCoppTypeSm, CountersDynamicCoppSm>;

}  // namespace Oru::Counters
