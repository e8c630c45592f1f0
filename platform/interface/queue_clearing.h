// Clearing of queue counters: the current row is copied beside the live one, which goes on
// counting. For helpers, which are told of each clear request.
#pragma once

#include "platform/interface/counter_tables.h"
#include "platform/kel/text.h"

namespace Interface::QueueCounter {

class Clearing {
 public:
  // Without tables, clears nothing.
  Clearing() = default;
  // The table of the current rows, and that of the rows as they were when they were last cleared.
  Clearing(Kel::Ptr<AllIntfQueueCounters> live, Kel::Ptr<AllIntfQueueCounters> cleared)
      : _live(std::move(live)), _cleared(std::move(cleared)) {}

  // "all", or the name of one interface. An interface without a row, and a text that is no name,
  // change nothing. Throws Dov::ResourceException where there is no room.
  void clear(Kel::String const& request) const;

 private:
  Kel::Ptr<AllIntfQueueCounters> _live;
  Kel::Ptr<AllIntfQueueCounters> _cleared;
};

}  // namespace Interface::QueueCounter
