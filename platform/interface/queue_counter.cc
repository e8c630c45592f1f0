#include "platform/interface/queue_counter.h"

#include "platform/kel/exceptions.h"

namespace Interface::QueueCounter {

QueueIndex::QueueIndex(std::uint32_t value) : _value(value) {
  if (value > max)
    Kel::throwRangeException(
        "QueueIndex::value < QueueIndex::min or > QueueIndex::max not allowed");
}

}  // namespace Interface::QueueCounter
