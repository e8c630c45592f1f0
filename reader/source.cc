#include "reader/source.h"

#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <map>
#include <optional>
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

// Of the regular file that has the table's name now; none when there is none.
std::optional<uid_t> ownerOf(std::string const& path) {
  struct stat status {};
  if (::lstat((path + ".glim").c_str(), &status) != 0 || !S_ISREG(status.st_mode))
    return std::nullopt;
  return status.st_uid;
}

bool ownOrSuperuser(uid_t owner) { return owner == 0 || owner == ::geteuid(); }

std::string nameOf(uid_t user) {
  passwd const* const entry = ::getpwuid(user);
  std::string const number = "user " + std::to_string(user);
  return entry == nullptr ? number : std::string(entry->pw_name) + " (" + number + ")";
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

Source::Source(std::string directory, Trust trust)
    : _directory(std::move(directory)),
      _trust(trust),
      _counters(pathOf(_directory, Interface::kIntfCounters)),
      _clearCounters(pathOf(_directory, Interface::kIntfClearCounters)),
      _descriptions(pathOf(_directory, Interface::kIntfDescriptions)) {}

// The owner that is expected is one of the two that are trusted, and the reader checks it on the
// file that it opened: a file that takes the name in between is refused, and no more.
template <class Record>
Glim::Answer Source::refresh(Table<Record>& table) const {
  if (_trust == Trust::ownTables) {
    std::string const path = table.reader.table().path();
    uid_t const owner = ownerOf(path) == ::geteuid() ? ::geteuid() : 0;
    if (table.owner != owner)
      table.reader = Glim::Reader<Record>(path, Glim::ReaderOptions{.owner = owner});
    table.owner = owner;
  }
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
  if (read.answer == Glim::Answer::unsafe) {
    auto const owner = ownerOf(table.reader.table().path());
    if (owner && !ownOrSuperuser(*owner)) read.stranger = nameOf(*owner);
  }
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
  if (_counters.reader.attached()) {
    auto const status = _counters.reader.status();
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
