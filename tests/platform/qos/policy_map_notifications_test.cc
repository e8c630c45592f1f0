// What the hardware status of a policy map, and of all of one type, tells its notifiees.
#include <gtest/gtest.h>

#include "platform/kel/exceptions.h"
#include "platform/qos/policy_map_status.h"
#include "tests/support/call_log.h"

namespace Qos {
namespace {

using Support::CallLog;
using Support::Calls;

class MapWatcher : public PolicyMapHwStatus::NotifieeConst {
 public:
  explicit MapWatcher(CallLog& log) : _log(log) {}
  void onType() override { _log("type"); }
  void onPrgmStatus() override { _log("prgmStatus"); }
  void onPrgmStatusErrMessage() override { _log("prgmStatusErrMessage"); }
  void onVersion() override { _log("version"); }
  void onCmap(Kel::Name name) override { _log("cmap", name); }
  void onCmapkelImmediate() override { _log("cmap at once"); }
  void onCmap() override { _log("all of cmap"); }

 private:
  CallLog& _log;
};

class TypeWatcher : public PolicyMapTypeHwStatus::NotifieeConst {
 public:
  explicit TypeWatcher(CallLog& log) : _log(log) {}
  void onPmap(PolicyMapHwStatusKey const& key) override { _log("pmap", key); }
  void onPmapkelImmediate() override { _log("pmap at once"); }
  void onPmap() override { _log("all of pmap"); }

 private:
  CallLog& _log;
};

template <class Watcher, class Status>
Kel::Ptr<Watcher> watching(Kel::Ptr<Status> const& status, CallLog& log) {
  auto const watcher = Kel::make<Watcher>(log);
  watcher->notifierIs(status);
  watcher->hasNotificationActiveIs(true);
  watcher->isRegisteredNotifieeIs(true);
  return watcher;
}

class PolicyMapStatus : public testing::Test {
 public:
  CallLog log;
  Kel::Ptr<PolicyMapHwStatus> sut = Kel::make<PolicyMapHwStatus>();
  Kel::Ptr<MapWatcher> watcher = watching<MapWatcher>(sut, log);
};

TEST_F(PolicyMapStatus, TellsOfEachAttributeThatChanges) {
  for (int again = 0; again < 2; ++again) {  // the second time nothing changes
    sut->typeIs(MapType::pbr);
    sut->prgmStatusIs(PrgmStatus::failed);
    sut->prgmStatusErrMessageIs("no room");
    sut->versionIs(3);
  }
  EXPECT_EQ(log.calls(), (Calls{"type", "prgmStatus", "prgmStatusErrMessage", "version"}));
  EXPECT_EQ(sut->type(), MapType::pbr);
  EXPECT_EQ(sut->prgmStatus(), PrgmStatus::failed);
  EXPECT_EQ(sut->prgmStatusErrMessage(), Kel::String("no room"));
  EXPECT_EQ(sut->version(), 3u);
}

TEST_F(PolicyMapStatus, TellsOfClassesByName) {
  sut->cmapIs("copp-bgp", {});
  sut->cmapIs("copp-bgp", {});  // no change
  sut->cmapIs("copp-bgp", {.version = 2});
  sut->cmapDel("copp-bgp");
  sut->cmapDel("copp-bgp");
  EXPECT_EQ(log.calls(), (Calls{"cmap copp-bgp", "cmap copp-bgp", "cmap copp-bgp"}));
}

TEST_F(PolicyMapStatus, TellsOfClassesThatGoAllAtOnceAsAWhole) {
  sut->cmapIs("copp-bgp", {});
  log.clear();
  sut->cmapDelAll();
  EXPECT_EQ(log.calls(), (Calls{"cmap at once", "all of cmap"}));
  EXPECT_TRUE(sut->cmap().empty());
}

class PolicyMapTypeStatus : public testing::Test {
 public:
  CallLog log;
  Kel::Ptr<PolicyMapTypeHwStatus> sut = Kel::make<PolicyMapTypeHwStatus>(MapType::qos);
  Kel::Ptr<TypeWatcher> watcher = watching<TypeWatcher>(sut, log);
};

TEST_F(PolicyMapTypeStatus, TellsOfPolicyMapsByNameAndDirection) {
  auto const map = Kel::make<PolicyMapHwStatus>();
  sut->pmapIs({"a", Direction::input}, map);
  sut->pmapIs({"a", Direction::input}, map);  // no change
  sut->pmapIs({"a", Direction::output}, map);
  sut->pmapIs({"a", Direction::input}, Kel::make<PolicyMapHwStatus>());
  sut->pmapDel({"a", Direction::output});
  EXPECT_EQ(log.calls(), (Calls{"pmap a input", "pmap a output", "pmap a input", "pmap a output"}));
}

TEST_F(PolicyMapTypeStatus, TellsOfPolicyMapsThatGoAllAtOnceAsAWhole) {
  sut->pmapIs({"a", Direction::input}, Kel::make<PolicyMapHwStatus>());
  log.clear();
  sut->pmapDelAll();
  EXPECT_EQ(log.calls(), (Calls{"pmap at once", "all of pmap"}));
  EXPECT_TRUE(sut->pmap().empty());
}

TEST(PolicyMapKey, ReadsWhatItWrites) {
  for (PolicyMapHwStatusKey const& key :
       {PolicyMapHwStatusKey("copp-system-policy", Direction::input),
        PolicyMapHwStatusKey("name of three words", Direction::output)})
    EXPECT_EQ(Kel::fromStrep<PolicyMapHwStatusKey>(Kel::toStrep(key)), key);
  EXPECT_EQ(Kel::toStrep(PolicyMapHwStatusKey("a", Direction::output)), "a output");
}

TEST(PolicyMapKey, NeedsADirectionBehindItsLastBlank) {
  for (char const* const text : {"", "input", "a", "ainput", "a Input", "a input ", "a inward"})
    EXPECT_THROW(Kel::fromStrep<PolicyMapHwStatusKey>(text), Kel::RangeException) << text;
}

TEST(PolicyMapKey, IsOrderedByNameAndThenDirection) {
  EXPECT_LT(PolicyMapHwStatusKey("a", Direction::output),
            PolicyMapHwStatusKey("b", Direction::input));
  EXPECT_LT(PolicyMapHwStatusKey("a", Direction::input),
            PolicyMapHwStatusKey("a", Direction::output));
}

}  // namespace
}  // namespace Qos
