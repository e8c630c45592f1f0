// Where snapshots come from: the tables of a directory, across the agents that write them.
#pragma once

#include <map>
#include <optional>
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
  // Opens nothing but the tables that are named. Some hold interfaces of several kinds: snapshots
  // have those of one kind, or all without a kind.
  Source(std::string directory, Trust trust, std::vector<Table> const& wanted,
         std::optional<IntfKind> kind = IntfKind::ethernet);

  // Reads those tables. One that is not there, or became unreadable, is told in the snapshot, and
  // tried again with the next one; so agents may come, go and replace their tables meanwhile.
  Snapshot take(double now);

 private:
  template <class Record>
  struct Rows {
    Rows(std::string const& directory, Table table);

    Table which;
    bool wanted = false;
    Glim::Reader<Record> reader;
    Glim::ReaderOptions options;
  };
  // A table of which each row is of one item, and where it stands in that.
  template <class Item, class Record>
  struct ItemRows : Rows<Record> {
    ItemRows(std::string const& directory, Table table, std::optional<Record> Item::*place)
        : Rows<Record>(directory, table), member(place) {}
    std::optional<Record> Item::*member;
  };
  template <class Record>
  using IntfRows = ItemRows<Intf, Record>;
  using EthRows = IntfRows<Interface::EthIntfCounterGlim>;
  using DescriptionRows = IntfRows<Interface::IntfDescription>;
  using QueueRows = IntfRows<Intf::Queues>;
  using DropRows = IntfRows<Glim::Interface::DropCounter>;
  using VlanIntfRows = IntfRows<Interface::VlanIntfCounterGlim>;
  using VlanRows = ItemRows<Vlan, Glim::Bridging::VlanCounter>;
  using VlanDescriptionRows = ItemRows<Vlan, Bridging::VlanDescription>;

  template <class Record>
  std::vector<Record> read(Rows<Record>& table, TableRead& read);
  // The rows of all of them that are wanted, by their key.
  template <class Key, class Item, class... Record>
  std::map<Key, Item> join(std::tuple<ItemRows<Item, Record>...>& tables, Snapshot& snapshot);
  template <class Record>
  Glim::Answer refresh(Rows<Record>& table) const;

  std::string _directory;
  Trust _trust;
  std::optional<IntfKind> _kind;
  // The clears come first: one that is made meanwhile would be ahead of the counts.
  std::tuple<EthRows, QueueRows, EthRows, DescriptionRows, QueueRows, DropRows, VlanIntfRows>
      _intfTables;
  std::tuple<VlanRows, VlanRows, VlanDescriptionRows> _vlanTables;
  Rows<Qos::CoppClassCounter> _classes;
};

}  // namespace Show
