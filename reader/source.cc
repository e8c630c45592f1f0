#include "reader/source.h"

#include <map>
#include <utility>
#include <vector>

namespace Show {

namespace {

// A table can be replaced while it is read; more often than this in a row, it is given up.
constexpr int kAttempts = 4;

std::string pathOf(std::string const& directory, std::string_view table) {
  return directory + "/" + std::string(table);
}

}  // namespace

Source::Source(std::string directory, Trust trust)
    : _directory(std::move(directory)),
      _trust(trust),
      _counters(pathOf(_directory, Interface::kIntfCounters)),
      _clearCounters(pathOf(_directory, Interface::kIntfClearCounters)),
      _descriptions(pathOf(_directory, Interface::kIntfDescriptions)) {}

template <class Record>
Glim::Answer Source::refresh(Table<Record>& table) const {
  std::string const path = table.reader.table().path();
  Glim::ReaderOptions const options = readerOptions(_trust, path + ".glim");
  if (table.options.owner != options.owner) table.reader = Glim::Reader<Record>(path, options);
  table.options = options;
  return table.reader.refresh();
}

template <class Record, class Visit>
void Source::read(Table<Record>& table, TableRead& read, Visit visit) {
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
  if (read.answer != Glim::Answer::ok) return;
  for (Record const& row : rows) visit(row);
}

Snapshot Source::take(double now) {
  Snapshot snapshot;
  snapshot.now = now;
  snapshot.directory = _directory;
  snapshot.directoryNamed = _trust == Trust::directoryOwner;
  std::map<Pekt::IntfId, Intf> interfaces;
  read(_counters, snapshot.table[Snapshot::counterTable],
       [&](auto const& row) { interfaces[row.intfId].counters = row; });
  read(_descriptions, snapshot.table[Snapshot::descriptionTable],
       [&](auto const& row) { interfaces[row.intfId].description = row; });
  read(_clearCounters, snapshot.table[Snapshot::clearTable], [&](auto const& row) {
    auto const intf = interfaces.find(row.intfId);
    if (intf != interfaces.end()) intf->second.atLastClear = row;
  });
  if (_counters.reader.attached()) snapshot.agent = agentStatus(_counters.reader.status());
  snapshot.interfaces.reserve(interfaces.size());
  for (auto& [intfId, intf] : interfaces) {
    intf.intfId = intfId;
    snapshot.interfaces.push_back(std::move(intf));
  }
  return snapshot;
}

}  // namespace Show
