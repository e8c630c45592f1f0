// What the configuration of VLANs, and the requests to clear their counters, tell their notifiees.
#include <gtest/gtest.h>

#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "tests/support/call_log.h"

namespace Bridging {
namespace {

using Support::CallLog;
using Support::Calls;

class ConfigWatcher : public Config::NotifieeConst {
 public:
  explicit ConfigWatcher(CallLog& log) : _log(log) {}
  void onVlanConfig(VlanId vlanId) override { _log("vlan", vlanId); }
  void onVlanConfigkelImmediate() override { _log("vlans at once"); }
  void onVlanConfig() override { _log("all vlans"); }

 private:
  CallLog& _log;
};

class RequestWatcher : public VlanCountersCliReq::NotifieeConst {
 public:
  explicit RequestWatcher(CallLog& log) : _log(log) {}
  void onClearCountersRequest(VlanId vlanId) override { _log("request", vlanId); }
  void onClearCountersRequestkelImmediate() override { _log("requests at once"); }
  void onClearCountersRequest() override { _log("all requests"); }

 private:
  CallLog& _log;
};

template <class Watcher, class Entity>
Kel::Ptr<Watcher> watching(Kel::Ptr<Entity> const& entity, CallLog& log) {
  auto const watcher = Kel::make<Watcher>(log);
  watcher->notifierIs(entity);
  watcher->isRegisteredNotifieeIs(true);
  watcher->hasNotificationActiveIs(true);
  return watcher;
}

class BridgingConfig : public testing::Test {
 public:
  CallLog log;
  Kel::Ptr<Config> sut = Kel::make<Config>();
  Kel::Ptr<ConfigWatcher> watcher = watching<ConfigWatcher>(sut, log);
};

TEST_F(BridgingConfig, TellsOfAVlanThatComesAndChangesAndNotOfOneThatIsTheSame) {
  sut->vlanConfigIs({.vlanId = VlanId(10)});
  sut->vlanConfigIs({.vlanId = VlanId(10)});
  EXPECT_EQ(log.calls(), Calls{"vlan 10"});
  sut->vlanConfigIs({.vlanId = VlanId(10), .internal = true});
  EXPECT_EQ(log.calls(), (Calls{"vlan 10", "vlan 10"}));
  EXPECT_TRUE(sut->vlanConfig().find(VlanId(10))->second.internal);
}

TEST_F(BridgingConfig, TellsOnceOfAVlanThatGoes) {
  sut->vlanConfigIs({.vlanId = VlanId(10)});
  log.clear();
  sut->vlanConfigDel(VlanId(10));
  sut->vlanConfigDel(VlanId(10));
  EXPECT_EQ(log.calls(), Calls{"vlan 10"});
  EXPECT_EQ(sut->vlanConfig().size(), 0u);
}

TEST_F(BridgingConfig, TellsOfAllVlansThatGoAsAWhole) {
  sut->vlanConfigDelAll();
  EXPECT_EQ(log.calls(), Calls{});
  sut->vlanConfigIs({.vlanId = VlanId(10)});
  sut->vlanConfigIs({.vlanId = VlanId(20)});
  log.clear();
  sut->vlanConfigDelAll();
  EXPECT_EQ(log.calls(), (Calls{"vlans at once", "all vlans"}));
  EXPECT_EQ(sut->vlanConfig().size(), 0u);
}

class VlanClearRequests : public testing::Test {
 public:
  CallLog log;
  Kel::Ptr<VlanCountersCliReq> sut = Kel::make<VlanCountersCliReq>();
  Kel::Ptr<RequestWatcher> watcher = watching<RequestWatcher>(sut, log);
};

TEST_F(VlanClearRequests, ThatComeOrChangeTheirFlagAreTold) {
  sut->clearCountersRequestIs(VlanId(10), false);
  sut->clearCountersRequestIs(VlanId(10), false);
  EXPECT_EQ(log.calls(), Calls{"request 10"});
  sut->clearCountersRequestIs(VlanId(10), true);
  EXPECT_EQ(log.calls(), (Calls{"request 10", "request 10"}));
}

TEST_F(VlanClearRequests, ThatGoAreToldOnce) {
  sut->clearCountersRequestIs(VlanId(10), true);
  log.clear();
  sut->clearCountersRequestDel(VlanId(10));
  sut->clearCountersRequestDel(VlanId(10));
  EXPECT_EQ(log.calls(), Calls{"request 10"});
  EXPECT_EQ(sut->clearCountersRequest().size(), 0u);
}

TEST_F(VlanClearRequests, ThatAllGoAreToldAsAWhole) {
  sut->clearCountersRequestDelAll();
  EXPECT_EQ(log.calls(), Calls{});
  sut->clearCountersRequestIs(VlanId(10), true);
  sut->clearCountersRequestIs(VlanId(20), true);
  log.clear();
  sut->clearCountersRequestDelAll();
  EXPECT_EQ(log.calls(), (Calls{"requests at once", "all requests"}));
  EXPECT_EQ(sut->clearCountersRequest().size(), 0u);
}

}  // namespace
}  // namespace Bridging
