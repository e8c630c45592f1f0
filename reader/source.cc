#include "reader/source.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Show {

namespace {

// A table can be replaced while it is read; more often than this in a row, it is given up.
constexpr int kAttempts = 4;

// A clear alone tells of no interface.
bool isKnown(Intf const& intf) {
  return intf.counters || intf.description || intf.queues || intf.drops || intf.vlanCounters;
}
bool isKnown(Vlan const& vlan) { return vlan.counters || vlan.description; }

}  // namespace

template <class Record>
Source::Rows<Record>::Rows(std::string const& directory, Table table)
    : which(table), reader(directory + "/" + std::string(name(table))) {}

Source::Source(std::string directory, Trust trust, std::vector<Table> const& wanted,
               std::optional<IntfKind> kind)
    : _directory(std::move(directory)),
      _trust(trust),
      _kind(kind),
      _intfTables(EthRows(_directory, Table::clearCounters, &Intf::atLastClear),
                  QueueRows(_directory, Table::clearQueueCounters, &Intf::queuesAtLastClear),
                  EthRows(_directory, Table::counters, &Intf::counters),
                  DescriptionRows(_directory, Table::descriptions, &Intf::description),
                  QueueRows(_directory, Table::queueCounters, &Intf::queues),
                  DropRows(_directory, Table::aclDropCounters, &Intf::drops),
                  VlanIntfRows(_directory, Table::vlanIntfCounters, &Intf::vlanCounters)),
      _vlanTables(VlanRows(_directory, Table::vlanCounterSnapshots, &Vlan::atLastClear),
                  VlanRows(_directory, Table::vlanCounters, &Vlan::counters),
                  VlanDescriptionRows(_directory, Table::vlanDescriptions, &Vlan::description)),
      _classes(_directory, Table::coppCounters) {
  auto const want = [&wanted](auto& table) {
    table.wanted = std::find(wanted.begin(), wanted.end(), table.which) != wanted.end();
  };
  auto const wantEach = [&want](auto&... table) { (want(table), ...); };
  std::apply(wantEach, _intfTables);
  std::apply(wantEach, _vlanTables);
  want(_classes);
}

template <class Record>
Glim::Answer Source::refresh(Rows<Record>& table) const {
  std::string const path = table.reader.table().path();
  Glim::ReaderOptions const options = readerOptions(_trust, path + ".glim");
  if (table.options.owner != options.owner) table.reader = Glim::Reader<Record>(path, options);
  table.options = options;
  return table.reader.refresh();
}

template <class Record>
std::vector<Record> Source::read(Rows<Record>& table, TableRead& read) {
  std::vector<Record> rows;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    read.answer = refresh(table);
    if (read.answer == Glim::Answer::retired) continue;
    if (read.answer != Glim::Answer::ok) break;
    rows.clear();
    auto const walk = table.reader.forEach([&rows](Record const& row) { rows.push_back(row); });
    read.answer = walk.end;
    if (walk.end != Glim::Answer::ok) continue;
    read.rows = walk.rows;
    read.corruptRows = walk.corrupt;
    read.busyRows = walk.busy;
    break;
  }
  if (read.answer == Glim::Answer::unsafe)
    read.stranger = strangerOf(table.reader.table().path() + ".glim");
  if (read.answer != Glim::Answer::ok) rows.clear();
  return rows;
}

template <class Key, class Item, class... Record>
std::map<Key, Item> Source::join(std::tuple<ItemRows<Item, Record>...>& tables,
                                 Snapshot& snapshot) {
  std::map<Key, Item> items;
  auto const add = [&]<class One>(ItemRows<Item, One>& table) {
    if (!table.wanted) return;
    for (One const& row : read(table, snapshot.tables[table.which]))
      items[Glim::RecordTraits<One>::key(row)].*table.member = row;
    if (table.which == Table::counters && table.reader.attached())
      snapshot.agent = agentStatus(table.reader.status());
  };
  std::apply([&add](auto&... table) { (add(table), ...); }, tables);
  std::erase_if(items, [](auto const& item) { return !isKnown(item.second); });
  return items;
}

Snapshot Source::take(double now) {
  Snapshot snapshot;
  snapshot.now = now;
  snapshot.directory = _directory;
  snapshot.directoryNamed = _trust == Trust::directoryOwner;
  auto interfaces = join<Pekt::IntfId>(_intfTables, snapshot);
  if (_classes.wanted) snapshot.classes = read(_classes, snapshot.tables[_classes.which]);
  std::sort(snapshot.classes.begin(), snapshot.classes.end(),
            [](auto const& a, auto const& b) { return a.className < b.className; });
  snapshot.interfaces.reserve(interfaces.size());
  for (auto& [intfId, intf] : interfaces) {
    if (_kind && kindOf(intfId) != *_kind) continue;
    intf.intfId = intfId;
    snapshot.interfaces.push_back(std::move(intf));
  }
  for (auto& [vlanId, vlan] : join<Bridging::VlanId>(_vlanTables, snapshot)) {
    vlan.vlanId = vlanId;
    snapshot.vlans.push_back(std::move(vlan));
  }
  return snapshot;
}

}  // namespace Show
