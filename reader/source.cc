#include "reader/source.h"

#include <signal.h>

#include <cerrno>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace Show {

namespace {

// Agents say that they live about once a second. A number that no process has proves little while
// the heartbeat is fresh: the agent may live in another process namespace.
constexpr double kSilentAfter = 5.0;
constexpr double kGoneAfter = 2.0;

// A table can be replaced while it is read; more often than this in a row, it is given up.
constexpr int kAttempts = 4;

bool processExists(std::uint64_t pid) {
  if (pid == 0 || pid > static_cast<std::uint64_t>(std::numeric_limits<pid_t>::max())) return false;
  return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

std::string pathOf(std::string const& directory, std::string_view table) {
  return directory + "/" + std::string(table);
}

}  // namespace

AgentStatus agentStatus(Glim::TableStatus const& table, bool exists) {
  AgentStatus status{.pid = table.writerPid, .heartbeatAge = table.heartbeatAge};
  if (table.state != Glim::TableStatus::State::ready)
    status.state = AgentState::notRunning;
  else if (!exists && table.heartbeatAge > kGoneAfter)
    status.state = AgentState::notRunning;
  else
    status.state = table.heartbeatAge > kSilentAfter ? AgentState::silent : AgentState::running;
  return status;
}

Source::Source(std::string directory)
    : _directory(std::move(directory)),
      _counters(pathOf(_directory, Interface::kIntfCounters)),
      _clearCounters(pathOf(_directory, Interface::kIntfClearCounters)),
      _descriptions(pathOf(_directory, Interface::kIntfDescriptions)) {}

template <class Record, class Visit>
void Source::read(Glim::Reader<Record>& table, TableRead& read, Visit visit) {
  std::vector<Record> rows;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    read.answer = table.refresh();
    if (read.answer == Glim::Answer::retired) continue;
    if (read.answer != Glim::Answer::ok) return;
    rows.clear();
    auto const walk = table.forEach([&rows](Record const& row) { rows.push_back(row); });
    read.answer = walk.end;
    if (walk.end != Glim::Answer::ok) continue;
    read.rows = walk.rows;
    read.corruptRows = walk.corrupt;
    read.busyRows = walk.busy;
    break;
  }
  if (read.answer != Glim::Answer::ok) return;
  for (Record const& row : rows) visit(row);
}

Snapshot Source::take(double now) {
  Snapshot snapshot;
  snapshot.now = now;
  snapshot.directory = _directory;
  std::map<Pekt::IntfId, Intf> interfaces;
  read(_counters, snapshot.table[Snapshot::counterTable],
       [&](auto const& row) { interfaces[row.intfId].counters = row; });
  read(_descriptions, snapshot.table[Snapshot::descriptionTable],
       [&](auto const& row) { interfaces[row.intfId].description = row; });
  read(_clearCounters, snapshot.table[Snapshot::clearTable], [&](auto const& row) {
    auto const intf = interfaces.find(row.intfId);
    if (intf != interfaces.end()) intf->second.atLastClear = row;
  });
  if (_counters.attached()) {
    auto const status = _counters.status();
    snapshot.agent = agentStatus(status, processExists(status.writerPid));
  }
  snapshot.interfaces.reserve(interfaces.size());
  for (auto& [intfId, intf] : interfaces) {
    intf.intfId = intfId;
    snapshot.interfaces.push_back(std::move(intf));
  }
  return snapshot;
}

}  // namespace Show
