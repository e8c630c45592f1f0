// The samples that travel from the helper to the pollers.
#pragma once

#include "platform/interface/eth_counters.h"
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

// Which queues an interface has, and what they counted; filled by the helper
// for the queue poller.
class IntfQueueType;
class IntfQueueCounters;

}  // namespace OruTypes
