#include "agent/tables.h"

#include "agent/log.h"
#include "platform/glim/give_up.h"

namespace Agent {

using Debug = Dov::Platform::DebugHandler;

Tables::Tables(std::string directory, Glim::TableLimits const& limits)
    : _debug(Debug::defaultFlags,
             [](Debug::Message const& message) { say(std::string(message.text)); }),
      _directory(std::move(directory)),
      _limits(limits),
      _intfCounters(add<Interface::AllEthIntfCounterGlim>(Interface::kIntfCounters)),
      _intfClearCounters(add<Interface::AllEthIntfCounterGlim>(Interface::kIntfClearCounters)),
      _intfQueueCounters(
          add<Interface::QueueCounter::AllIntfQueueCounters>(Interface::kIntfQueueCounters)),
      _intfClearQueueCounters(
          add<Interface::QueueCounter::AllIntfQueueCounters>(Interface::kIntfClearQueueCounters)),
      _aclDropCounters(add<Glim::Interface::AllDropCounterDir>(Interface::kAclDropCounters)),
      _intfDescriptions(add<Interface::AllIntfDescription>(Interface::kIntfDescriptions)),
      _vlanIntfCounters(
          add<Interface::AllVlanIntfCounterGlim>(Interface::kVlanIntfCounters, kMaxVlanIntfs)),
      _coppCounters(add<Qos::AllCoppClassCounter>(Qos::kCoppCounters, kMaxCoppClasses)),
      _vlanCounters(add<Glim::Bridging::VlanCounterDir>(Bridging::kVlanCounters, kMaxVlans)),
      _vlanCounterSnapshots(
          add<Glim::Bridging::VlanCounterSnapshotDir>(Bridging::kVlanCounterSnapshots, kMaxVlans)),
      _vlanDescriptions(add<Bridging::AllVlanDescription>(Bridging::kVlanDescriptions, kMaxVlans)) {
}

Glim::RootPath Tables::path(std::string_view name) {
  return Glim::RootPath(_debug, _directory + '/' + std::string(name), true);
}

void Tables::heartbeat() {
  for (Life const& life : _alive)
    if (!life.beat())
      throw TableLost("table " + _directory + '/' + life.name +
                      " was damaged by somebody else and is given up; what was found is told in " +
                      life.name + ".corruption beside it");
}

void Tables::validateFiles() const {
  for (Life const& life : _alive)
    if (!life.files())
      throw TableLost("the file of table " + _directory + '/' + life.name +
                      " was removed, replaced or changed by somebody else, and readers do not find "
                      "it any more; it is given up");
}

void Tables::wallClockSteppedBy(Kel::Seconds step) {
  auto const move = [step](auto& table) {
    table.forEach([&](auto const& row) {
      if (row.rates.lastUpdate == 0.0) return;  // nothing was measured yet
      auto moved = row;
      moved.rates.lastUpdate += step;
      moved.rates.seeded += step;
      Glim::writeOrGiveUp(table, moved);
    });
  };
  move(*_intfCounters);
  move(*_vlanIntfCounters);
}

void Tables::noSampleAfter(Kel::Seconds now) {
  auto const correct = [now](auto& table) {
    table.forEach([&](auto const& row) {
      if (row.statistics.lastUpdate <= now) return;
      auto corrected = row;
      corrected.statistics.lastUpdate = now;
      Glim::writeOrGiveUp(table, corrected);
    });
  };
  correct(*_intfCounters);
  correct(*_vlanIntfCounters);
}

}  // namespace Agent
