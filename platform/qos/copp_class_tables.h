// The table that an agent publishes, by policing class.
#pragma once

#include "platform/glim/collection.h"
#include "platform/qos/copp_class_counter.h"

namespace Qos {

// The name of the table within the agent's directory.
inline constexpr std::string_view kCoppCounters = "coppCounters";

// Counters of the control-plane policing classes.
class AllCoppClassCounter : public Glim::Collection<CoppClassCounter> {
 public:
  using Collection::Collection;

  void counterIs(CoppClassCounter const& counter) { write(counter); }
  void counterDel(CoppClassName const& className) { remove(className); }
};

}  // namespace Qos
