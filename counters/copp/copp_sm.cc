#include "counters/copp/copp_sm.h"

#include "counters/pollers/unit.h"
#include "platform/kel/walk.h"

namespace Oru::Counters {

template <class Self>
class CoppSm<Self>::KelPmap final : public Kel::Reactor<CoppSm, Qos::PolicyMapHwStatus const> {
 public:
  using Base = Kel::Reactor<CoppSm, Qos::PolicyMapHwStatus const>;
  using Base::Base;
  using Qos::PolicyMapHwStatus::NotifieeConst::onCmap;
  void onCmap(Kel::Name name) override { this->tell(&CoppSm::handleClass, name); }
  void onCmapkelImmediate() override { this->tell(&CoppSm::handleClasses); }
  void resync() override { onCmapkelImmediate(); }
};

template <class Self>
CoppSm<Self>::CoppSm(Kel::Name name, Kel::Ptr<Qos::PolicyMapHwStatus const> const& pmap,
                     Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper)
    : _name(std::move(name)), _pmap(*this, pmap), _platformHelper(platformHelper) {}

template <class Self>
CoppSm<Self>::~CoppSm() = default;

template <class Self>
void CoppSm<Self>::pmapIs(Kel::Ptr<Qos::PolicyMapHwStatus const> const& pmap) {
  _pmap.notifierIs(*this, pmap);
}
template <class Self>
Kel::Ptr<Qos::PolicyMapHwStatus const> CoppSm<Self>::pmapDel() {
  return _pmap.notifierDel(*this);
}

template <class Self>
void CoppSm<Self>::initializedIs(bool initialized) {
  if (initialized == _initialized) return;
  _initialized = initialized;
  handleInitialized();
}

template <class Self>
void CoppSm<Self>::handleInitialized() {
  if (auto t = trace(7, {__FILE__, Self::kInitialized.line, Self::kInitialized.function}))
    t << Self::kInitialized.text;
  handleClasses();
}

template <class Self>
void CoppSm<Self>::handleClasses() {
  auto const status = pmap();  // one that takes its place is walked when it is attached
  require(bool(status), "pmap()");
  for (auto const& [cmapName, entry] : Kel::walk(status->cmap())) {
    handleClass(cmapName);
    if (pmap() != status || this->kelMarkedForDeletion()) return;  // the helper's doing
  }
}

template <class Self>
void CoppSm<Self>::handleClass(Kel::Name cmapName) {
  if (auto t = trace(7, {__FILE__, Self::kClass.line, Self::kClass.function}))
    t << Self::kClass.text << cmapName;
  require(bool(pmap()), "pmap()");
  if (pmap()->cmap().contains(cmapName)) platformHelper()->resetCpuQueueCounters(cmapName);
}

template <class Self>
std::string CoppSm<Self>::refusal(CoppSm const& sm) {
  return sm.pmap() ? "" : "no policy map is watched";
}

constinit Kel::TypeNode const CountersCoppSm::_kelType = Kel::typeNode<CountersCoppSm>();
constinit Kel::TypeNode const CountersDynamicCoppSm::_kelType =
    Kel::typeNode<CountersDynamicCoppSm>();

template class CoppSm<CountersCoppSm>;
template class CoppSm<CountersDynamicCoppSm>;

}  // namespace Oru::Counters
