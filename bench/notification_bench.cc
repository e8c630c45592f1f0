// One keyed notification through a reactor, beside a direct virtual call.
#include <benchmark/benchmark.h>

#include "bench/side_by_side.h"
#include "platform/kel/hash_map.h"
#include "platform/oru/common_sm_data.h"

namespace {

class Listener : public Kel::StateMachine<Listener, Kel::ReactorOwner> {
 public:
  explicit Listener(Kel::Ptr<Oru::OruCommonSmData const> const& data) : _data(*this, data) {}

  virtual void handleIntf(Pekt::IntfId const& id) { count += id.empty() ? 0u : 1u; }

  static constexpr auto kelDescription() {
    return Kel::describe("Bench::Listener", Kel::watchedParameter("data", &Listener::_data));
  }
  static Kel::TypeNode const _kelType;

  std::uint64_t count = 0;

 private:
  class KelData final : public Kel::Reactor<Listener, Oru::OruCommonSmData const> {
   public:
    using NotifieeConst::onIntf;
    using Reactor::Reactor;
    void onIntf(Pekt::IntfId id) override { tell(&Listener::handleIntf, id); }
  };

  Kel::Input<KelData, Oru::OruCommonSmData const> _data;
};
constinit Kel::TypeNode const Listener::_kelType = Kel::typeNode<Listener>();

// Another override, so that the direct call is one that the compiler cannot resolve.
class OtherListener final : public Listener {
 public:
  using Listener::Listener;
  void handleIntf(Pekt::IntfId const&) override { ++count; }
};

// An entity whose setter does nothing but tell.
class Teller : public Oru::OruCommonSmData {
 public:
  void tell(Pekt::IntfId const& id) { notify(&NotifieeConst::onIntf, id); }

 private:
  template <class P>
  void notify(void (NotifieeConst::*callback)(P), Pekt::IntfId const& id) {
    Kel::Notifier::notify<NotifieeConst, P>(callback, id);
  }
};

void notificationAgainstVirtualCall(benchmark::State& state) {
  constexpr int kCalls = 1000;
  auto const teller = Kel::make<Teller>();
  auto const listener = Kel::instance<Listener>(Kel::Ptr<Oru::OruCommonSmData const>(teller));
  Pekt::IntfId const id("Ethernet1");
  Kel::Ptr<Listener> const other = Kel::make<OtherListener>(nullptr);
  Listener* direct = listener.get();
  Bench::sideBySide(
      state, kCalls,
      [&] {
        for (int i = 0; i < kCalls; ++i) teller->tell(id);
      },
      [&] {
        for (int i = 0; i < kCalls; ++i) {
          benchmark::DoNotOptimize(direct);  // the compiler may not know which object it is
          direct->handleIntf(id);
        }
      });
  if (listener->count % kCalls != 0) state.SkipWithError("a notification was lost");
}
BENCHMARK(notificationAgainstVirtualCall)->UseManualTime();

}  // namespace
