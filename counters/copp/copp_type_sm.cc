#include "counters/copp/copp_type_sm.h"

#include <sstream>
#include <utility>

#include "counters/pollers/unit.h"
#include "platform/kel/walk.h"

namespace Oru::Counters {

template <class Self, class Child>
class CoppTypeSm<Self, Child>::KelPmapType final
    : public Kel::Reactor<CoppTypeSm, Qos::PolicyMapTypeHwStatus const> {
 public:
  using Base = Kel::Reactor<CoppTypeSm, Qos::PolicyMapTypeHwStatus const>;
  using Base::Base;
  using Qos::PolicyMapTypeHwStatus::NotifieeConst::onPmap;
  void onPmap(Qos::PolicyMapHwStatusKey const& key) override {
    this->tell(&CoppTypeSm::handlePolicyMap, key);
  }
  void onPmapkelImmediate() override { this->tell(&CoppTypeSm::handlePolicyMaps); }
  void resync() override { onPmapkelImmediate(); }
};

template <class Self, class Child>
CoppTypeSm<Self, Child>::CoppTypeSm(Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType,
                                    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper)
    : _pmapType(*this, pmapType), _platformHelper(platformHelper) {
  handleInitialized();
}

template <class Self, class Child>
CoppTypeSm<Self, Child>::~CoppTypeSm() = default;

template <class Self, class Child>
void CoppTypeSm<Self, Child>::pmapTypeIs(
    Kel::Ptr<Qos::PolicyMapTypeHwStatus const> const& pmapType) {
  _pmapType.notifierIs(*this, pmapType);
}
template <class Self, class Child>
Kel::Ptr<Qos::PolicyMapTypeHwStatus const> CoppTypeSm<Self, Child>::pmapTypeDel() {
  return _pmapType.notifierDel(*this);
}

template <class Self, class Child>
void CoppTypeSm<Self, Child>::handleInitialized() {
  if (auto t = trace(7, {__FILE__, Self::kInitialized.line, Self::kInitialized.function}))
    t << Self::kInitialized.text;
  handlePolicyMaps();
}

template <class Self, class Child>
void CoppTypeSm<Self, Child>::handlePolicyMaps() {
  auto const status = pmapType();
  require(bool(status), "pmapType()");
  for (auto const& [key, pmap] : Kel::walk(status->pmap())) handlePolicyMap(key);
}

template <class Self, class Child>
void CoppTypeSm<Self, Child>::handlePolicyMap(Qos::PolicyMapHwStatusKey const& key) {
  if (auto t = trace(7, {__FILE__, Self::kPolicyMap.line, Self::kPolicyMap.function}))
    t << Self::kPolicyMap.text << key;
}

template <class Self, class Child>
void CoppTypeSm<Self, Child>::doPrepareToDie() {
  if (auto t = trace(7, {__FILE__, Self::kPrepareToDie.line, Self::kPrepareToDie.function}))
    t << Self::kPrepareToDie.text;
  coppSmDelAll();
}

template <class Self, class Child>
std::string CoppTypeSm<Self, Child>::refusal(CoppTypeSm const& sm) {
  return sm.pmapType() ? "" : "no type of policy maps is watched";
}

template <class Self, class Child>
void CoppTypeSm<Self, Child>::coppSmNamed(CoppTypeSm& sm, Kel::Name const& name,
                                          Qos::Direction direction) {
  auto const status = sm.pmapType();
  if (!status) Kel::throwRangeException(refusal(sm));
  auto const& there = status->pmap();
  if (auto const at = there.find({name, direction}); at != there.end()) {
    sm.coppSmIs(name, at->second, sm.platformHelper());
    return;
  }
  std::ostringstream text;
  text << "there is no policy map " << name << ' ' << direction << "; there are: ";
  char const* separator = "";
  for (auto const& [key, pmap] : there) text << std::exchange(separator, ", ") << key;
  if (there.empty()) text << "none";
  Kel::throwRangeException(text.str());
}

constinit Kel::TypeNode const CountersCoppTypeSm::_kelType = Kel::typeNode<CountersCoppTypeSm>();
constinit Kel::TypeNode const CountersDynamicCoppTypeSm::_kelType =
    Kel::typeNode<CountersDynamicCoppTypeSm>();

template class CoppTypeSm<CountersCoppTypeSm, CountersCoppSm>;
template class CoppTypeSm<CountersDynamicCoppTypeSm, CountersDynamicCoppSm>;

}  // namespace Oru::Counters
