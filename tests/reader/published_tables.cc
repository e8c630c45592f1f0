#include "tests/reader/published_tables.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "platform/glim/header_copy.h"
#include "platform/kel/system.h"

namespace Show {

PublishedTables::PublishedTables() { ::chmod(_directory.c_str(), 0755); }

PublishedTables::~PublishedTables() { stop(); }

std::string PublishedTables::file(std::string_view table) const {
  return _directory + "/" + std::string(table) + ".glim";
}

template <class Rows>
void PublishedTables::take(Kel::Ptr<Rows>& rows, std::string_view table, std::uint32_t maxRows) {
  Glim::RootPath const root(_debug, _directory + "/" + std::string(table), true);
  rows = Kel::Ptr<Rows>::adopt(new Rows(_debug, root, Glim::TableLimits{.maxRows = maxRows}));
}

void PublishedTables::start(std::uint32_t maxRows) {
  take(_counters, Interface::kIntfCounters, maxRows);
  take(_clear, Interface::kIntfClearCounters, maxRows);
  take(_descriptions, Interface::kIntfDescriptions, maxRows);
  _counters->heartbeat();
}

void PublishedTables::startQueuesAndDrops(std::uint32_t maxRows) {
  take(_queues, Interface::kIntfQueueCounters, maxRows);
  take(_clearQueues, Interface::kIntfClearQueueCounters, maxRows);
  take(_drops, Interface::kAclDropCounters, maxRows);
}

void PublishedTables::startVlansAndCopp(std::uint32_t maxRows) {
  take(_vlans, Interface::kVlanIntfCounters, maxRows);
  take(_classes, Qos::kCoppCounters, maxRows);
}

void PublishedTables::startVlans(std::uint32_t maxRows) {
  take(_vlanCounters, Bridging::kVlanCounters, maxRows);
  take(_vlanSnapshots, Bridging::kVlanCounterSnapshots, maxRows);
  take(_vlanDescriptions, Bridging::kVlanDescriptions, maxRows);
}

void PublishedTables::heartbeat() {
  if (_counters) _counters->heartbeat();
}

void PublishedTables::stop() {
  _counters = nullptr;
  _clear = nullptr;
  _descriptions = nullptr;
  _queues = nullptr;
  _clearQueues = nullptr;
  _drops = nullptr;
  _vlans = nullptr;
  _classes = nullptr;
  _vlanCounters = nullptr;
  _vlanSnapshots = nullptr;
  _vlanDescriptions = nullptr;
}

void PublishedTables::writeTwo() {
  for (int n = 1; n <= 2; ++n) {
    Interface::IntfDescription description;
    description.intfId = Pekt::IntfId("Ethernet" + std::to_string(n));
    description.kernelName = std::string_view(n == 1 ? "eth0" : "eth1");
    description.adminState = Interface::AdminState::up;
    description.operState = n == 1 ? Interface::OperState::up : Interface::OperState::down;
    write(description);
    Interface::EthIntfCounterGlim row;
    row.intfId = description.intfId;
    row.statistics.inOctets = static_cast<std::uint64_t>(1000 * n);
    row.statistics.lastUpdate = Kel::System::currentTime();
    write(row);
  }
}

void PublishedTables::damageByte(std::string_view table, std::uint64_t offset) const {
  int const fd = ::open(file(table).c_str(), O_RDWR | O_CLOEXEC);
  auto const at = static_cast<off_t>(offset);
  unsigned char byte = 0;
  bool const read = ::pread(fd, &byte, 1, at) == 1;
  byte ^= 0x40u;
  bool const written = ::pwrite(fd, &byte, 1, at) == 1;
  ::close(fd);
  if (!read || !written) throw std::runtime_error("no such byte to damage");
}

void PublishedTables::damageRow(std::string_view table, std::uint64_t slot) const {
  int const fd = ::open(file(table).c_str(), O_RDONLY | O_CLOEXEC);
  Glim::HeaderCopy header;
  Glim::Answer const answer = Glim::readHeader(fd, header);
  ::close(fd);
  if (answer != Glim::Answer::ok) throw std::runtime_error("no table to damage");
  // A byte in the middle of both halves, of which either may be the visible one.
  std::uint64_t const at = header.geometry.slotsOffset + slot * header.geometry.stride;
  std::uint64_t const row = header.geometry.rowWords * sizeof(Glim::Word);
  damageByte(table, at + 2 * sizeof(Glim::Word) + row / 2);
  damageByte(table, at + 3 * sizeof(Glim::Word) + row + row / 2);
}

void PublishedTables::write(std::string_view table, std::string_view content) const {
  std::ofstream(file(table), std::ios::binary) << content;
}

}  // namespace Show
