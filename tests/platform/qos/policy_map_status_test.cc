#include "platform/qos/policy_map_status.h"

#include <gtest/gtest.h>

#include "platform/kel/hash_map.h"
#include "tests/support/call_log.h"

namespace Qos {
namespace {

using Support::Calls;

class Watcher : public Kel::StateMachine<Watcher, Kel::ReactorOwner> {
 public:
  explicit Watcher(Kel::Ptr<SliceHwStatus> const& status) : _status(*this, status) {}

  void handlePmapType(MapType type) { log("pmapType", type); }
  void handlePmapType() { log("scan"); }
  void statusIs(Kel::Ptr<SliceHwStatus> const& status) { _status.notifierIs(*this, status); }
  Kel::Ptr<SliceHwStatus> status() const { return _status.notifier(); }
  // The reactor's slot, which takes any object.
  void retarget(Kel::Ptr<Kel::PtrInterface const> const& object) { _status->notifierIs(object); }

  static constexpr auto kelDescription() {
    return Kel::describe("Watcher", Kel::watchedParameter("status", &Watcher::_status));
  }
  static Kel::TypeNode const _kelType;

  Support::CallLog log;

 private:
  class KelStatus final : public Kel::Reactor<Watcher, SliceHwStatus> {
   public:
    using NotifieeConst::onPmapType;
    using Reactor::Reactor;
    void onPmapType(MapType type) override { tell(&Watcher::handlePmapType, type); }
    void onPmapTypekelImmediate() override { tell(&Watcher::handlePmapType); }
    void resync() override { onPmapTypekelImmediate(); }
  };
  Kel::Input<KelStatus, SliceHwStatus> _status;
};
constinit Kel::TypeNode const Watcher::_kelType = Kel::typeNode<Watcher>();

class SliceStatus : public testing::Test {
 public:
  Kel::Ptr<SliceHwStatus> sut = Kel::make<SliceHwStatus>("slice");
  Kel::Ptr<Watcher> watcher = Kel::instance<Watcher>(sut);
};

TEST_F(SliceStatus, IsNamed) { EXPECT_EQ(sut->name(), Kel::Name("slice")); }

TEST_F(SliceStatus, TellsOfTypesByKeyAndOfAllAsAWhole) {
  sut->pmapTypeIs(Kel::make<PolicyMapTypeHwStatus>(MapType::qos));
  sut->pmapTypeIs(Kel::make<PolicyMapTypeHwStatus>(MapType::pbr));
  sut->pmapTypeDel(MapType::qos);
  sut->pmapTypeDelAll();
  EXPECT_EQ(watcher->log.calls(), (Calls{"pmapType 1", "pmapType 2", "pmapType 1", "scan"}));
}

TEST_F(SliceStatus, IsFiledUnderTheTypeOfTheStatus) {
  sut->pmapTypeIs(Kel::make<PolicyMapTypeHwStatus>(MapType::pbr));
  EXPECT_TRUE(sut->pmapType().contains(MapType::pbr));
}

TEST_F(SliceStatus, ItsReactorWatchesNoStatusOfTheOtherFlavour) {
  auto const dynamic = Kel::make<AclSliceHwStatus>("slice");
  watcher->retarget(dynamic);
  EXPECT_EQ(watcher->status(), nullptr);
  EXPECT_EQ(dynamic->notifieeList()->size(), 0u);
  dynamic->pmapTypeIs(Kel::make<PolicyMapTypeHwStatus>(MapType::qos));
  EXPECT_EQ(watcher->log.calls(), Calls{});
}

TEST(MapType, IsReadAndPrintedAsItsNumber) {
  EXPECT_EQ(Kel::toStrep(MapType::pbr), "2");
  EXPECT_EQ(Kel::fromStrep<MapType>("0"), MapType::controlPlane);
  EXPECT_THROW(Kel::fromStrep<MapType>("-1"), Kel::RangeException);
  EXPECT_THROW(Kel::fromStrep<MapType>("qos"), Kel::RangeException);
}

TEST(Direction, ReadsAndWritesItsWord) {
  for (Direction const direction : {Direction::input, Direction::output})
    EXPECT_EQ(Kel::fromStrep<Direction>(Kel::toStrep(direction)), direction);
  EXPECT_EQ(Kel::toStrep(Direction::output), "output");
  for (char const* const text : {"", "0", "Input", "input "})
    EXPECT_THROW(Kel::fromStrep<Direction>(text), Kel::RangeException) << text;
}

TEST(MapType, CanBeTheKeyOfACollection) {
  EXPECT_LT(Kel::BucketKey<MapType>(MapType::pbr), Kel::BucketKey<MapType>(MapType::qos));
}

}  // namespace
}  // namespace Qos
