// Where snapshots come from: the tables of a directory, across the agents that write them.
#pragma once

#include <string>

#include "platform/glim/reader.h"
#include "reader/snapshot.h"

namespace Show {

// What the file says of its writer, and whether there is a process of the writer's number.
AgentStatus agentStatus(Glim::TableStatus const& table, bool processExists);

class Source {
 public:
  explicit Source(std::string directory);

  // Reads everything. A table that is not there, or became unreadable, is told in the snapshot, and
  // tried again with the next one; so agents may come, go and replace their tables meanwhile.
  Snapshot take(double now);

 private:
  template <class Record, class Visit>
  void read(Glim::Reader<Record>& table, TableRead& read, Visit visit);

  std::string _directory;
  Glim::Reader<Interface::EthIntfCounterGlim> _counters;
  Glim::Reader<Interface::EthIntfCounterGlim> _clearCounters;
  Glim::Reader<Interface::IntfDescription> _descriptions;
};

}  // namespace Show
