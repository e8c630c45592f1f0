#include "platform/interface/intf_dirs.h"

#include <gtest/gtest.h>

#include "platform/interface/writer_status.h"
#include "tests/support/call_log.h"

namespace Interface {
namespace {

using Support::CallLog;
using Support::Calls;

// Records what it is told of an entity of type X.
template <class X>
class Recorder : public X::NotifieeConst {
 public:
  explicit Recorder(Kel::Ptr<X> const& entity) {
    this->notifierIs(entity);
    this->isRegisteredNotifieeIs(true);
    this->hasNotificationActiveIs(true);
  }
  CallLog log;
};

struct ConfigRecorder : Recorder<AllEthPhyIntfConfigDir> {
  using Recorder::Recorder;
  void onIntfConfig(Pekt::IntfId id) override { log("config", id); }
  void onIntfConfigkelImmediate() override { log("immediate"); }
  void onIntfConfig() override { log("whole"); }
};
struct StatusRecorder : Recorder<AllEthPhyIntfStatusDir> {
  using Recorder::Recorder;
  void onIntfStatus(Pekt::IntfId id) override { log("status", id); }
  void onIntfStatuskelImmediate() override { log("immediate"); }
  void onIntfStatus() override { log("whole"); }
};
struct FlagRecorder : Recorder<AclDropConfig> {
  using NotifieeConst::onIntf;
  using Recorder::Recorder;
  void onIntf(Pekt::IntfId id) override { log("intf", id); }
};
struct LoadIntervalRecorder : Recorder<GlobalIntfConfig> {
  using Recorder::Recorder;
  void onLoadInterval() override { log("loadInterval"); }
};

TEST(IntfConfigDir, TellsOfAnotherObjectAndNotOfTheSame) {
  auto const sut = Kel::make<AllEthPhyIntfConfigDir>();
  auto const recorder = Kel::make<ConfigRecorder>(sut);
  auto const config = Kel::make<EthPhyIntfConfig>();
  sut->intfConfigIs("Ethernet1", config);
  sut->intfConfigIs("Ethernet1", config);
  EXPECT_EQ(recorder->log.calls(), (Calls{"config Ethernet1"}));
  sut->intfConfigIs("Ethernet1", Kel::make<EthPhyIntfConfig>());
  EXPECT_EQ(recorder->log.calls(), (Calls{"config Ethernet1", "config Ethernet1"}));
}

TEST(IntfConfigDir, TellsOfARemovalOnceItIsGone) {
  auto const sut = Kel::make<AllEthPhyIntfConfigDir>();
  sut->intfConfigIs("Ethernet1", Kel::make<EthPhyIntfConfig>());
  auto const recorder = Kel::make<ConfigRecorder>(sut);
  sut->intfConfigDel("Ethernet1");
  sut->intfConfigDel("Ethernet1");
  EXPECT_EQ(recorder->log.calls(), (Calls{"config Ethernet1"}));
  EXPECT_EQ(sut->intfConfig("Ethernet1"), nullptr);
}

TEST(IntfConfigDir, TellsOfTheRemovalOfAllAsAWhole) {
  auto const sut = Kel::make<AllEthPhyIntfConfigDir>();
  auto const recorder = Kel::make<ConfigRecorder>(sut);
  sut->intfConfigDelAll();
  EXPECT_EQ(recorder->log.calls(), Calls{});
  sut->intfConfigIs("Ethernet1", Kel::make<EthPhyIntfConfig>());
  sut->intfConfigDelAll();
  EXPECT_EQ(recorder->log.calls(), (Calls{"config Ethernet1", "immediate", "whole"}));
  EXPECT_TRUE(sut->intfConfig().empty());
}

TEST(IntfStatusDir, TellsAsTheConfigurationsDo) {
  auto const sut = Kel::make<AllEthPhyIntfStatusDir>();
  auto const recorder = Kel::make<StatusRecorder>(sut);
  sut->intfStatusIs("Ethernet1", Kel::make<EthPhyIntfStatus>());
  sut->intfStatusIs("Ethernet2", Kel::make<EthPhyIntfStatus>());
  sut->intfStatusDel("Ethernet1");
  sut->intfStatusDelAll();
  EXPECT_EQ(recorder->log.calls(), (Calls{"status Ethernet1", "status Ethernet2",
                                          "status Ethernet1", "immediate", "whole"}));
}

TEST(IntfFlags, TellsOfChangesAlone) {
  auto const sut = Kel::make<AclDropConfig>();
  auto const recorder = Kel::make<FlagRecorder>(sut);
  sut->intfIs("Ethernet1", false);
  sut->intfIs("Ethernet1", false);
  sut->intfIs("Ethernet1", true);
  sut->intfDel("Ethernet1");
  sut->intfDel("Ethernet1");
  EXPECT_EQ(recorder->log.calls(), Calls(3, "intf Ethernet1"));
}

TEST(IntfConfig, TellsOfANewLoadInterval) {
  auto const sut = Kel::make<GlobalIntfConfig>();
  auto const recorder = Kel::make<LoadIntervalRecorder>(sut);
  sut->loadIntervalIs(LoadInterval());
  sut->loadIntervalIs(LoadInterval(30.0));
  EXPECT_EQ(recorder->log.calls(), Calls{"loadInterval"});
  EXPECT_EQ(sut->loadInterval().seconds(), 30.0);
}

}  // namespace
}  // namespace Interface
