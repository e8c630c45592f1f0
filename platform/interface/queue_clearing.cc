#include "platform/interface/queue_clearing.h"

namespace Interface::QueueCounter {

void Clearing::clear(Kel::String const& request) const {
  if (!_live || !_cleared) return;
  if (request == "all") {
    _live->forEach([this](IntfQueueCounter const& row) { _cleared->intfQueueCounterIs(row); });
    return;
  }
  if (!Pekt::IntfId::isName(request.view())) return;
  IntfQueueCounter row;
  bool found = false;
  _live->safeLookup(Pekt::IntfId(request), found, row);
  if (found) _cleared->intfQueueCounterIs(row);
}

}  // namespace Interface::QueueCounter
