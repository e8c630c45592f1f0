// An agent whose chip throws: that is told, and what it does not concern goes on.
#include <stdexcept>

#include "hardware/simulated/counters_helper.h"
#include "tests/agent/host_fixture.h"

namespace Agent {
namespace {

// What of the second of three ports cannot be done.
struct Faults {
  bool polls = false, unsupported = false, unsupportedQueue = false;
};

class ChipWithAFault : public Chip {
 public:
  ChipWithAFault(Interfaces& interfaces, Faults const& faults)
      : _interfaces(interfaces), _faults(faults) {
    _helper->faults = &faults;
  }
  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const override { return _vlans; }
  void start(EventLoop&) override { retellRefused(); }
  void retellRefused() override {
    for (char const* const id : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      Interface::IntfDescription description;
      description.intfId = id;
      _interfaces.interfaceIs(description);
    }
  }
  std::optional<Interface::CounterSet> unsupported(Pekt::IntfId const& intfId) override {
    failIf(_faults.unsupported, intfId);
    Interface::CounterSet lacking;
    lacking.insert("symbolErrors");
    return lacking;
  }
  std::optional<std::uint32_t> unsupportedQueue(Pekt::IntfId const& intfId) override {
    failIf(_faults.unsupportedQueue, intfId);
    return 4;
  }

 private:
  static void failIf(bool fault, Pekt::IntfId const& intfId) {
    if (fault && intfId == Pekt::IntfId("Ethernet2")) throw std::runtime_error("it is away");
  }
  class Helper : public Hardware::Simulated::CountersHelper {
   public:
    using CountersHelper::CountersHelper;
    void getCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                     Kel::Ptr<OruTypes::IntfCounters> prevCounters) override {
      failIf(faults->polls, intfId);
      CountersHelper::getCounters(intfId, newCounters, prevCounters);
    }
    Faults const* faults = nullptr;
  };
  Interfaces& _interfaces;
  Faults const& _faults;
  Kel::Ptr<Helper> const _helper = Kel::make<Helper>(
      Kel::Name("faulty"),
      std::make_shared<Hardware::Simulated::Chip const>(Hardware::Simulated::Chip::seeded(3, 11)));
  Kel::Ptr<OruHelper::OruVlanCountersHelper> const _vlans =
      Kel::make<OruHelper::OruVlanCountersHelper>(Kel::Name("none"));
};

class HostWithAFault : public HostTest {
 protected:
  void start() {
    sut = std::make_unique<Host>(
        options, [this] { return time.now(); }, Glim::TableLimits(),
        [this](Tables&, Interfaces& interfaces, Vlans&) {
          return std::make_unique<ChipWithAFault>(interfaces, faults);
        });
    sut->start(loop);
  }
  // What the turns of ten seconds, or the first of them alone, tell the operator.
  std::string said(Kel::Seconds span = 10.0) {
    ::testing::internal::CaptureStderr();
    EXPECT_NO_THROW(sut->turn());
    EXPECT_NO_THROW(turnsFor(span));
    return ::testing::internal::GetCapturedStderr();
  }
  Interface::IntfDescription described(char const* id) {
    return rowOf<Interface::IntfDescription>(Interface::kIntfDescriptions, id).value();
  }
  Faults faults;
};

TEST_F(HostWithAFault, ANewPortThatCannotBePolledIsToldAndTheOthersArePolled) {
  faults.polls = true;
  start();
  EXPECT_EQ(said(0.0), "oru-agentd: Ethernet2 could not be polled: it is away\n");
  EXPECT_EQ(row("Ethernet1")->statistics.lastUpdate, time.now());
  EXPECT_EQ(row("Ethernet2")->statistics.lastUpdate, 0.0);
  EXPECT_EQ(row("Ethernet3")->statistics.lastUpdate, time.now());
}

TEST_F(HostWithAFault, APortThatCannotBeAskedWhatItLacksIsToldOnceAndAskedAgain) {
  faults.unsupported = true;
  start();
  EXPECT_EQ(said(),
            "oru-agentd: Ethernet2 could not be asked which counters it lacks, trying on: it is "
            "away\n");
  EXPECT_EQ(described("Ethernet2").unsupported, 0u);
  EXPECT_NE(described("Ethernet1").unsupported, 0u);
  EXPECT_NE(described("Ethernet3").unsupported, 0u);
  faults.unsupported = false;
  EXPECT_EQ(said(), "");
  EXPECT_NE(described("Ethernet2").unsupported, 0u);
}

TEST_F(HostWithAFault, APortThatCannotBeAskedWhatItsQueuesLackIsToldOnceAndAskedAgain) {
  std::string const told =
      "oru-agentd: Ethernet2 could not be asked which counters of its queues it lacks, trying on: "
      "it is away\n";
  faults.unsupportedQueue = true;
  start();
  EXPECT_EQ(said(), told);
  EXPECT_EQ(described("Ethernet2").unsupportedQueue, 0u);
  EXPECT_EQ(described("Ethernet1").unsupportedQueue, 4u);
  EXPECT_EQ(described("Ethernet3").unsupportedQueue, 4u);
  faults.unsupportedQueue = false;
  EXPECT_EQ(said(), "");
  EXPECT_EQ(described("Ethernet2").unsupportedQueue, 4u);
  faults.unsupportedQueue = true;
  EXPECT_EQ(said(), told);
}

}  // namespace
}  // namespace Agent
