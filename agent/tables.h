// The tables that the agent publishes, in one directory on a tmpfs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_description.h"
#include "platform/dov/debug_handler.h"
#include "platform/interface/counter_tables.h"
#include "platform/kel/system.h"
#include "platform/qos/copp_class_tables.h"

namespace Agent {

// A table was found damaged, or its file gone, and is lost to this process; the next one to take it
// keeps what is good of it.
class TableLost : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Of tables that hold less than a row for each Ethernet interface.
inline constexpr std::uint32_t kMaxVlanIntfs = 4096, kMaxVlans = 4096, kMaxCoppClasses = 512;

class Tables {
 public:
  // Takes the tables over from whoever wrote them before, rows included. The directory is made if
  // it is missing (one level). Throws the Dov family, with a text that names the table and what is
  // wrong: another process writes it, it is not on a tmpfs, it may not be written.
  explicit Tables(std::string directory, Glim::TableLimits const& limits = {});

  Kel::Ptr<Interface::AllEthIntfCounterGlim> intfCounters() const { return _intfCounters; }
  Kel::Ptr<Interface::AllEthIntfCounterGlim> intfClearCounters() const {
    return _intfClearCounters;
  }
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> intfQueueCounters() const {
    return _intfQueueCounters;
  }
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> intfClearQueueCounters() const {
    return _intfClearQueueCounters;
  }
  Kel::Ptr<Glim::Interface::AllDropCounterDir> aclDropCounters() const { return _aclDropCounters; }
  Kel::Ptr<Interface::AllIntfDescription> intfDescriptions() const { return _intfDescriptions; }

  Kel::Ptr<Interface::AllVlanIntfCounterGlim> vlanIntfCounters() const { return _vlanIntfCounters; }
  Kel::Ptr<Qos::AllCoppClassCounter> coppCounters() const { return _coppCounters; }
  Kel::Ptr<Glim::Bridging::VlanCounterDir> vlanCounters() const { return _vlanCounters; }
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> vlanCounterSnapshots() const {
    return _vlanCounterSnapshots;
  }
  Kel::Ptr<Bridging::AllVlanDescription> vlanDescriptions() const { return _vlanDescriptions; }

  // Calls visit(table) for each table whose rows are of interfaces.
  template <class Visit>
  void forEachOfInterfaces(Visit const& visit) const {
    visit(*_intfCounters);
    visit(*_intfClearCounters);
    visit(*_intfQueueCounters);
    visit(*_intfClearQueueCounters);
    visit(*_aclDropCounters);
    visit(*_vlanIntfCounters);
    visit(*_intfDescriptions);
  }

  // One more table in the same directory, of a chip's own, for `maxRows` at most.
  template <class Table>
  Kel::Ptr<Table> add(std::string_view name,
                      std::uint32_t maxRows = std::numeric_limits<std::uint32_t>::max()) {
    auto const table = Kel::make<Table>(
        _debug, path(name), Glim::TableLimits{.maxRows = std::min(maxRows, _limits.maxRows)});
    _alive.push_back({std::string(name),
                      [table] {
                        table->heartbeat();
                        return table->attached();
                      },
                      [table] { return table->map().implementation().validateFiles(); }});
    return table;
  }

  // Tells readers that the writer of all of them lives. Throws TableLost.
  void heartbeat();
  // Sees whether readers still find these very files under the tables' names. Throws TableLost.
  void validateFiles() const;

  // The wall clock was set by `step` seconds: moves the times that rates are measured from, so that
  // no rate is of a time that never passed.
  void wallClockSteppedBy(Kel::Seconds step);
  // Samples that bear a time after `now` were taken now. After the first polls since such a step: a
  // poll keeps the later of two times, and the one of a clock that was set back would stay for
  // good.
  void noSampleAfter(Kel::Seconds now);

 private:
  struct Life {
    std::string name;
    std::function<bool()> beat;   // whether the table is still attached
    std::function<bool()> files;  // whether its file is still the one under its name
  };
  Glim::RootPath path(std::string_view name);
  Dov::Platform::DebugHandler _debug;  // to the operator: what the tables have to say of themselves
  std::string const _directory;
  Glim::TableLimits const _limits;
  std::vector<Life> _alive;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const _intfCounters;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const _intfClearCounters;
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const _intfQueueCounters;
  Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const _intfClearQueueCounters;
  Kel::Ptr<Glim::Interface::AllDropCounterDir> const _aclDropCounters;
  Kel::Ptr<Interface::AllIntfDescription> const _intfDescriptions;
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> const _vlanIntfCounters;
  Kel::Ptr<Qos::AllCoppClassCounter> const _coppCounters;
  Kel::Ptr<Glim::Bridging::VlanCounterDir> const _vlanCounters;
  Kel::Ptr<Glim::Bridging::VlanCounterSnapshotDir> const _vlanCounterSnapshots;
  Kel::Ptr<Bridging::AllVlanDescription> const _vlanDescriptions;
};

}  // namespace Agent
