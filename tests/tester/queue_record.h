// Records of queue counters, said shortly.
#pragma once

#include <cstdint>
#include <map>
#include <string_view>

#include "platform/interface/queue_counter.h"

namespace TesterTest {

// A record with these counts; queues below the highest that are not named are zero, all are unicast
// but those from `firstMulticast` on.
inline Interface::QueueCounter::IntfQueueCounter record(
    std::string_view intf,
    std::map<std::uint32_t, Interface::QueueCounter::QueueCounts> const& queues,
    Interface::QueueCounter::QueueCounts const& ofAllQueues = {},
    std::uint32_t firstMulticast = 17) {
  Interface::QueueCounter::IntfQueueCounter made;
  made.intfId = Pekt::IntfId(intf);
  made.intfCounts = ofAllQueues;
  for (auto const& [number, counts] : queues) {
    made.statistics.sizeIs(number + 1);
    made.statistics[Interface::QueueCounter::QueueIndex(number)].counts = counts;
  }
  for (std::uint32_t number = firstMulticast; number < made.statistics.size(); ++number)
    made.statistics[Interface::QueueCounter::QueueIndex(number)].queueType =
        OruTypes::QueueType::multicast;
  return made;
}

}  // namespace TesterTest
