// The surroundings of a queue counter test wrapper: two interfaces, a helper that tells what it was
// asked, tables in shared memory, and virtual time.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/interface/counter_tables.h"
#include "platform/kel/exceptions.h"
#include "platform/oru/common_sm_data.h"
#include "tester/intf_queue_counter_test_wrapper.h"
#include "tester/intf_queue_counters_helper.h"
#include "tests/support/call_log.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"
#include "tests/tester/queue_record.h"

namespace TesterTest {

using Interface::QueueCounter::IntfQueueCounter;
using Support::Calls;

inline Pekt::IntfId const eth1("Ethernet1"), eth2("Ethernet2"), eth3("Ethernet3");

// Records what the pollers ask.
class RecordingHelper : public Oru::Counters::IntfQueueCountersHelper {
 public:
  explicit RecordingHelper(Support::CallLog& log) : IntfQueueCountersHelper("helper"), _log(log) {}
  void getIntfQueueType(Pekt::IntfId id, Kel::Ptr<OruTypes::IntfQueueType> types) override {
    _log("getIntfQueueType", id);
    IntfQueueCountersHelper::getIntfQueueType(id, types);
    if (duringStart) duringStart();
  }
  void getIntfQueueCounters(Pekt::IntfId id,
                            Kel::Ptr<OruTypes::IntfQueueCounters> counters) override {
    _log("getIntfQueueCounters", id);
    IntfQueueCountersHelper::getIntfQueueCounters(id, counters);
    if (duringPoll) duringPoll();
  }
  std::function<void()> duringStart, duringPoll;

 private:
  Support::CallLog& _log;
};

class IntfQueueCounterTestWrapper : public testing::Test {
 public:
  using Wrapper = Oru::Counters::IntfQueueCounterTestWrapper;
  using Poller = Oru::Counters::IntfQueueCountersSm;
  using Table = Interface::QueueCounter::AllIntfQueueCounters;

  IntfQueueCounterTestWrapper() {
    ocsd->intfIs(eth1, true);
    ocsd->intfIs(eth2, true);
  }
  Kel::Ptr<Wrapper> make() {
    return Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, current, cleared);
  }
  Kel::Ptr<Poller> interfaceIs(Pekt::IntfId const& id, Kel::Seconds period = 2.0) {
    return sut->interfaceIs(ocsd, id, period, time.clock(), helper, current, cleared);
  }
  std::string refusal(Kel::Ptr<Oru::OruCommonSmData> const& data, Kel::Seconds period,
                      Kel::Ptr<Kel::Clock const> const& clock,
                      Kel::Ptr<OruHelper::OruHelperCountersSm> const& chip,
                      Kel::Ptr<Table> const& live, Kel::Ptr<Table> const& clear) {
    try {
      sut->interfaceIs(data, eth1, period, clock, chip, live, clear);
    } catch (Kel::NameInUseException const& e) {
      std::string const text = e.what();
      std::string const start =
          "Reinstantiating the pointer interface where constructor parameter attribute ";
      return text.starts_with(start)
                 ? text.substr(start.size(), text.find(' ', start.size()) - start.size())
                 : text;
    }
    return "not refused";
  }
  std::size_t polls() const {
    return log.count("getIntfQueueCounters Ethernet1") +
           log.count("getIntfQueueCounters Ethernet2");
  }

  Support::VirtualTime time;
  Support::TemporaryTables tables;
  Support::CallLog log;
  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<RecordingHelper> helper = Kel::make<RecordingHelper>(log);
  Kel::Ptr<Table> current = tables.table<Table>("current");
  Kel::Ptr<Table> cleared = tables.table<Table>("cleared");
  Kel::Ptr<Wrapper> sut = make();
};
using IntfQueueCounterTestWrapperDeathTest = IntfQueueCounterTestWrapper;

class Watcher : public Oru::Counters::IntfQueueCounterTestWrapper::NotifieeConst {
 public:
  Watcher(Kel::Ptr<Oru::Counters::IntfQueueCounterTestWrapper const> const& wrapper,
          Support::CallLog& log)
      : _log(log) {
    notifierIs(wrapper);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  void onInterface(Pekt::IntfId id) override {
    _log(notifier()->interface(id) ? "here" : "gone", id);
  }
  void onInterfacekelImmediate() override { _log("at once", notifier()->interface().size()); }
  void onInterface() override { _log("as a whole"); }

 private:
  Support::CallLog& _log;
};

}  // namespace TesterTest
