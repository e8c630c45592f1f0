// The samples that travel from the helper to the pollers.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>

#include "platform/interface/eth_counters.h"
#include "platform/interface/queue_counter.h"
#include "platform/interface/statistics.h"
#include "platform/kel/ptr_interface.h"

namespace OruTypes {

// One sample of an Ethernet port: the chip's absolute counts. All zeros when
// new. Whoever fills it keeps both error totals equal to the sums of their
// classes:
//
//   intfStats().inErrors == receiveErrorSum(ethStats())
//   intfStats().outErrors == transmitErrorSum(ethStats())
class IntfCounters : public Kel::PtrInterface {
 public:
  Interface::IntfStatistics const& intfStats() const { return _intfStats; }
  Interface::IntfStatistics& intfStats() { return _intfStats; }
  void intfStatsIs(Interface::IntfStatistics const& stats) { _intfStats = stats; }

  Interface::EthStatistics const& ethStats() const { return _ethStats; }
  Interface::EthStatistics& ethStats() { return _ethStats; }
  void ethStatsIs(Interface::EthStatistics const& stats) { _ethStats = stats; }

 private:
  Interface::IntfStatistics _intfStats;
  Interface::EthStatistics _ethStats;
};

// One sample of a VLAN interface. All zeros when new.
class VlanIntfCounters : public Kel::PtrInterface {
 public:
  Interface::IntfStatistics const& intfStats() const { return _intfStats; }
  Interface::IntfStatistics& intfStats() { return _intfStats; }
  void intfStatsIs(Interface::IntfStatistics const& stats) { _intfStats = stats; }

 private:
  Interface::IntfStatistics _intfStats;
};

// The queues of an interface, by index; filled by the helper.
class IntfQueueType : public Kel::PtrInterface {
 public:
  std::map<std::uint8_t, QueueType> const& queueType() const { return _queueType; }
  void queueTypeIs(std::uint8_t index, QueueType type) { _queueType[index] = type; }

 private:
  std::map<std::uint8_t, QueueType> _queueType;
};

// One sample of an interface's queues. Without any queue when new.
class IntfQueueCounters : public Kel::PtrInterface {
 public:
  using QueueCounts = Interface::QueueCounter::QueueCounts;
  using QueueIndex = Interface::QueueCounter::QueueIndex;

  // Whether the queue was counted; what is not is all zeros.
  bool contains(QueueIndex index) const { return _counted[index.value()]; }
  QueueCounts const& queueCounts(QueueIndex index) const { return _queueCounts[index.value()]; }
  void queueCountsIs(QueueIndex index, QueueCounts const& counts) {
    _queueCounts[index.value()] = counts;
    _counted[index.value()] = true;
  }

  // Of all queues together; none where the chip does not count them so.
  std::optional<QueueCounts> const& intfCounts() const { return _intfCounts; }
  void intfCountsIs(std::optional<QueueCounts> const& counts) { _intfCounts = counts; }

  // As when new.
  void clear() {
    _queueCounts = {};
    _counted = {};
    _intfCounts.reset();
  }

 private:
  std::array<QueueCounts, QueueIndex::max + 1> _queueCounts{};
  std::array<bool, QueueIndex::max + 1> _counted{};
  std::optional<QueueCounts> _intfCounts;
};

}  // namespace OruTypes
