// Where snapshots come from: the tables of a directory, across the agents that write them.
#pragma once

#include <string>

#include "platform/glim/reader.h"
#include "reader/agent_status.h"
#include "reader/snapshot.h"
#include "reader/trust.h"

namespace Show {

class Source {
 public:
  Source(std::string directory, Trust trust);

  // Reads everything. A table that is not there, or became unreadable, is told in the snapshot, and
  // tried again with the next one; so agents may come, go and replace their tables meanwhile.
  Snapshot take(double now);

 private:
  template <class Record>
  struct Table {
    explicit Table(std::string const& path) : reader(path) {}

    Glim::Reader<Record> reader;
    Glim::ReaderOptions options;
  };

  template <class Record, class Visit>
  void read(Table<Record>& table, TableRead& read, Visit visit);
  template <class Record>
  Glim::Answer refresh(Table<Record>& table) const;

  std::string _directory;
  Trust _trust;
  Table<Interface::EthIntfCounterGlim> _counters;
  Table<Interface::EthIntfCounterGlim> _clearCounters;
  Table<Interface::IntfDescription> _descriptions;
};

}  // namespace Show
