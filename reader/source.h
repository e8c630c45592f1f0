// Where snapshots come from: the tables of a directory, across the agents that write them.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "platform/glim/reader.h"
#include "reader/agent_status.h"
#include "reader/snapshot.h"
#include "reader/trust.h"

namespace Show {

class Source {
 public:
  // Opens nothing but the tables that are named.
  Source(std::string directory, Trust trust, std::vector<Table> const& wanted);

  // Reads those tables. One that is not there, or became unreadable, is told in the snapshot, and
  // tried again with the next one; so agents may come, go and replace their tables meanwhile.
  Snapshot take(double now);

 private:
  // A table, and where its rows stand in a snapshot.
  template <class Record>
  struct Rows {
    Rows(std::string const& directory, Table table, std::optional<Record> Intf::*place);

    Table which;
    std::optional<Record> Intf::*member;
    bool wanted = false;
    Glim::Reader<Record> reader;
    Glim::ReaderOptions options;
  };
  using EthRows = Rows<Interface::EthIntfCounterGlim>;
  using DescriptionRows = Rows<Interface::IntfDescription>;
  using QueueRows = Rows<Intf::Queues>;
  using DropRows = Rows<Glim::Interface::DropCounter>;

  template <class Record>
  std::vector<Record> read(Rows<Record>& table, TableRead& read);
  template <class Record>
  Glim::Answer refresh(Rows<Record>& table) const;

  std::string _directory;
  Trust _trust;
  // The clears come first: one that is made meanwhile would be ahead of the counts.
  std::tuple<EthRows, QueueRows, EthRows, DescriptionRows, QueueRows, DropRows> _tables;
};

}  // namespace Show
