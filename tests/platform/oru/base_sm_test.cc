#include "platform/oru/base_sm.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/kel/state_machine.h"
#include "platform/oru/common_sm_data.h"
#include "tests/platform/kel/machines.h"
#include "tests/support/virtual_slot.h"

namespace Oru {
namespace {

using Kel::Ptr;
using KelTest::Journal;
using KelTest::Lines;

class Service : public Kel::StateMachine<Service, OruBaseSm> {
 public:
  Service(Ptr<OruCommonSmData> const& ocsd, Ptr<Journal> const& journal)
      : StateMachine(ocsd), _journal(journal) {}
  ~Service() override { (*_journal)("~service"); }

  void handleInitialized() override {
    (*_journal)(initialized() ? "handleInitialized" : "handleInitialized too early");
  }

  static constexpr auto kelDescription() {
    using Sm = Service;
    return Kel::describe("Oru::Service", Kel::parameter("ocsd", &Sm::ocsd),
                         Kel::parameter("journal", &Sm::_journal),
                         Kel::value("initialized", &Sm::initialized, &Sm::initializedIs));
  }
  static Kel::TypeNode const _kelType;

 protected:
  Ptr<Journal> _journal;
};
constinit Kel::TypeNode const Service::_kelType = Kel::typeNode<Service>();

// One that may be started by calling handleInitialized() itself.
class DirectService : public Kel::StateMachine<DirectService, OruBaseSm> {
 public:
  DirectService(Ptr<OruCommonSmData> const& ocsd, Ptr<Journal> const& journal)
      : StateMachine(ocsd), _journal(journal) {}

  void handleInitialized() override {
    Initializing const once(*this);
    (*_journal)("handleInitialized");
    initializedIs(true);
  }

  static constexpr auto kelDescription() {
    using Sm = DirectService;
    return Kel::describe("Oru::DirectService", Kel::parameter("ocsd", &Sm::ocsd),
                         Kel::parameter("journal", &Sm::_journal));
  }
  static Kel::TypeNode const _kelType;

 private:
  Ptr<Journal> _journal;
};
constinit Kel::TypeNode const DirectService::_kelType = Kel::typeNode<DirectService>();

class BaseSm : public testing::Test {
 protected:
  Ptr<OruCommonSmData> ocsd = Kel::make<OruCommonSmData>();
  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Service> sut = Kel::instance<Service>(ocsd, journal);
};

TEST_F(BaseSm, SlotsFollowThoseOfEveryObject) {
  EXPECT_EQ(Support::slot(&OruBaseSm::handleInitialized), 8u);
  EXPECT_EQ(Support::slot(&OruBaseSm::initializedIs), 9u);
  EXPECT_EQ(Support::slot(&OruBaseSm::kelDoZombieReactors), 10u);
}

TEST_F(BaseSm, HoldsTheCommonData) { EXPECT_EQ(sut->ocsd(), ocsd); }

TEST_F(BaseSm, IsNotInitializedByItsCreation) {
  EXPECT_FALSE(sut->initialized());
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(BaseSm, InitializedIsSetBeforeItsHandlerRuns) {
  sut->initializedIs(true);
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, InitializedUnchangedRunsNothing) {
  sut->initializedIs(false);
  sut->initializedIs(true);
  sut->initializedIs(true);
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, InitializedClearedRunsNothingAndSetAgainRunsTheHandler) {
  sut->initializedIs(true);
  sut->initializedIs(false);
  EXPECT_FALSE(sut->initialized());
  EXPECT_EQ(journal->taken(), (Lines{"handleInitialized"}));
  sut->initializedIs(true);
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, IsSetByName) {
  Kel::set(*sut, "initialized", "true");
  EXPECT_EQ(Kel::read(*sut, "initialized"), "true");
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, SurvivesAHandlerThatDropsItsLastReference) {
  journal->on("handleInitialized", [&] { sut = nullptr; });
  sut.get()->initializedIs(true);
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized", "~service"}));
}

TEST_F(BaseSm, PassesOnWhatItsHandlerThrowsAndCanBeStartedAgain) {
  journal->on("handleInitialized", [] { throw std::runtime_error("broken"); });
  EXPECT_THROW(sut->initializedIs(true), std::runtime_error);
  EXPECT_FALSE(sut->initialized());
  journal->on("handleInitialized", [] {});
  journal->taken();
  sut->initializedIs(true);
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, CalledDirectlyRunsItsHandlerOnce) {
  auto const direct = Kel::instance<DirectService>(ocsd, journal);
  direct->handleInitialized();
  EXPECT_TRUE(direct->initialized());
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, ThatMayBeCalledDirectlyRunsItsHandlerOnceThroughTheFlagToo) {
  auto const direct = Kel::instance<DirectService>(ocsd, journal);
  direct->initializedIs(true);
  EXPECT_TRUE(direct->initialized());
  EXPECT_EQ(journal->lines(), (Lines{"handleInitialized"}));
}

TEST_F(BaseSm, IsMarkedAsAZombie) {
  sut->kelDoZombieReactors(true);
  EXPECT_TRUE(sut->kelMarkedForDeletion());
}

class CommonDataWatcher : public OruCommonSmData::NotifieeConst {
 public:
  CommonDataWatcher(Ptr<OruCommonSmData const> const& ocsd, Ptr<Journal> journal)
      : _journal(std::move(journal)) {
    notifierIs(ocsd);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  using OruCommonSmData::NotifieeConst::onCpuIntf, OruCommonSmData::NotifieeConst::onIntf,
      OruCommonSmData::NotifieeConst::onVlanIntf;
  void onOperationalMode() override { (*_journal)("mode"); }
  void onInitialized() override { (*_journal)("initialized"); }
  void onIntf(Pekt::IntfId id) override { (*_journal)("intf " + id.stringValue().str()); }
  void onIntfkelImmediate() override { (*_journal)("all intf"); }
  void onCpuIntf(Pekt::IntfId id) override { (*_journal)("cpu " + id.stringValue().str()); }
  void onCpuIntfkelImmediate() override { (*_journal)("all cpu"); }
  void onVlanIntf(Pekt::IntfId id) override { (*_journal)("vlan " + id.stringValue().str()); }
  void onVlanIntfkelImmediate() override { (*_journal)("all vlan"); }
  void onKeepIntfCounters() override { (*_journal)("keep"); }

 private:
  Ptr<Journal> _journal;
};

TEST_F(BaseSm, CommonDataTellsEachKindOfInterfaceApart) {
  auto const watcher = Kel::make<CommonDataWatcher>(Ptr<OruCommonSmData const>(ocsd), journal);
  ocsd->intfIs("Ethernet1", true);
  ocsd->intfIs("Ethernet1", true);
  ocsd->intfIs("Ethernet1", false);
  ocsd->cpuIntfIs("Cpu", true);
  ocsd->vlanIntfIs("Vlan7", true);
  ocsd->intfDelAll();
  ocsd->cpuIntfDel("Cpu");
  ocsd->vlanIntfDelAll();
  ocsd->operationalModeIs("switch");
  ocsd->initializedIs(true);
  ocsd->keepIntfCountersIs(true);
  EXPECT_EQ(journal->lines(),
            (Lines{"intf Ethernet1", "intf Ethernet1", "cpu Cpu", "vlan Vlan7", "all intf",
                   "cpu Cpu", "all vlan", "mode", "initialized", "keep"}));
}

TEST_F(BaseSm, CommonDataServesWhatIsThereAndTrue) {
  EXPECT_FALSE(ocsd->intf("Ethernet1"));
  ocsd->intfIs("Ethernet1", false);
  EXPECT_FALSE(ocsd->intf("Ethernet1"));
  ocsd->intfIs("Ethernet1", true);
  EXPECT_TRUE(ocsd->intf("Ethernet1"));
  EXPECT_FALSE(ocsd->vlanIntf("Ethernet1"));
}

}  // namespace
}  // namespace Oru
