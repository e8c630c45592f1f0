// The simulated chip behind the helper contract that the counters poll.
//
//   auto chip = std::make_shared<Chip>(Chip::seeded(48, 7));
//   auto helper = Kel::make<CountersHelper>(Kel::Name("simulated"), chip);
//
// Reads the time from Kel::System, and so runs in a test's virtual time as in the machine's.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "counters/pollers/helper.h"
#include "hardware/simulated/chip.h"
#include "platform/interface/queue_clearing.h"
#include "platform/qos/copp_class_tables.h"

namespace Hardware::Simulated {

class CountersHelper : public OruHelper::OruHelperCountersSm {
 public:
  // `switchedOn` is the time at which the chip's own seconds begin. What is laid down on the chip
  // later holds from its next sample on.
  CountersHelper(Kel::Name name, std::shared_ptr<Chip const> chip,
                 Kel::Seconds switchedOn = Kel::System::currentTime())
      : OruHelperCountersSm(std::move(name)), _chip(std::move(chip)), _switchedOn(switchedOn) {}

  Kel::Seconds firstSyncDelay() const override { return _firstSyncDelay; }
  void firstSyncDelayIs(Kel::Seconds delay) { _firstSyncDelay = delay; }

  // A port that is not there stands still: its sample is the previous one again, so that nothing is
  // added to what was counted while it was.
  void getCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                   Kel::Ptr<OruTypes::IntfCounters> prevCounters) override;
  void getVlanIntfCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::VlanIntfCounters> newCounters,
                           Kel::Ptr<OruTypes::VlanIntfCounters> prevCounters) override;
  // True if the chip has a port of that name, there or not.
  bool initializeVlanIntfCounters(Pekt::IntfId intfId, std::uint16_t vlanId) override;

  // Eight unicast queues; none of a port that the chip does not have.
  void getIntfQueueType(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfQueueType> types) override;
  // Of a port that is not there the record stays as given: its counts stand still, and there are no
  // increments.
  void getIntfQueueCounters(Pekt::IntfId intfId,
                            Kel::Ptr<OruTypes::IntfQueueCounters> counters) override;

  // Copies the queue rows to their clear table, once it was told them.
  void doClearCounters(Kel::String request) override { _queueClearing.clear(request); }
  void queueClearingIs(Interface::QueueCounter::Clearing clearing) {
    _queueClearing = std::move(clearing);
  }

  bool aclDropCountersSupported() override { return true; }
  // Publishes the chip's policing classes, once it was told the table: those that have room there.
  void getCoppCounters() override;
  void resetCpuQueueCounters(Kel::Name className) override;
  void coppTableIs(Kel::Ptr<Qos::AllCoppClassCounter> rows, std::string_view policyMap) {
    _coppRows = std::move(rows);
    _policyMap = policyMap;
  }

  // The classes that were published last, and those that had no room, with the reason.
  std::set<Qos::CoppClassName> const& coppClasses() const { return _coppClasses; }
  std::map<Qos::CoppClassName, std::string> const& coppWithoutRoom() const {
    return _coppWithoutRoom;
  }

  // 0 for a port that the chip does not have.
  std::uint64_t getIntfAclDropCounters(Pekt::IntfId intfId) override;

  // The chip's time: seconds since it was switched on.
  Seconds chipTime() const { return Kel::System::currentTime() - _switchedOn; }

 private:
  using QueueSamples = std::array<QueueSample, egressQueues>;
  struct Hash {
    std::size_t operator()(Pekt::IntfId const& intfId) const { return intfId.hash(); }
  };

  Qos::CoppClassCounter coppRow(Qos::CoppClassName const& className, Port const& port) const;
  Port const* presentPort(Pekt::IntfId const& intfId) const;

  std::shared_ptr<Chip const> _chip;
  Kel::Seconds _switchedOn;
  Kel::Seconds _firstSyncDelay = 0.0;
  Interface::QueueCounter::Clearing _queueClearing;
  Kel::Ptr<Qos::AllCoppClassCounter> _coppRows;
  std::string _policyMap;
  std::set<Qos::CoppClassName> _coppClasses;
  std::map<Qos::CoppClassName, std::string> _coppWithoutRoom;
  std::unordered_map<Pekt::IntfId, QueueSamples, Hash> _lastQueues;  // what increments are since
};

}  // namespace Hardware::Simulated
