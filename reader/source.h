// Where snapshots come from: the tables of a directory, across the agents that write them.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/glim/reader.h"
#include "reader/snapshot.h"

namespace Show {

// What the file says of its writer, and whether there is a process of the writer's number.
AgentStatus agentStatus(Glim::TableStatus const& table, bool processExists);

// Whose tables are shown. Anybody may make the usual directory first, while no agent runs; so of
// one that the user did not name, only tables of the superuser or of this user.
enum class Trust { ownTables, directoryOwner };

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
    std::optional<uid_t> owner;  // that the reader expects
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
