#include "agent/library_rows.h"

#include "platform/dov/exception.h"
#include "platform/glim/give_up.h"

namespace Agent {

void LibraryRows::reserve(Pekt::IntfId const& intfId) {
  try {
    take(intfId, _room[intfId]);
  } catch (Dov::ResourceException const&) {
    release(intfId);
    throw;
  }
}

// A row of the queues without any is what an agent that was killed meanwhile left of its own.
void LibraryRows::take(Pekt::IntfId const& intfId, Room& room) {
  Interface::QueueCounter::IntfQueueCounter queues;
  queues.intfId = intfId;
  auto const live = _tables.intfQueueCounters();
  auto const clear = _tables.intfClearQueueCounters();
  bool const counted = live->contains(intfId) && live->lookup(intfId) != queues;
  if (!clear->contains(intfId)) {
    Glim::writeOrGiveUp(*clear, queues);
    room.clearQueues = !counted;  // beside a row that stays, the library makes none
  }
  if (!counted) {
    Glim::writeOrGiveUp(*live, queues);
    room.queues = true;
  }
  if (!_tables.aclDropCounters()->contains(intfId)) {
    Glim::writeOrGiveUp(*_tables.aclDropCounters(), {intfId, 0});
    room.drops = true;
  }
}

void LibraryRows::release(Pekt::IntfId const& intfId) {
  auto const taken = _room.extract(intfId);
  if (taken.empty()) return;
  Pekt::IntfId const& id = taken.key();  // the caller's may have been this one
  Room const& room = taken.mapped();
  if (room.queues) Glim::removeOrGiveUp(*_tables.intfQueueCounters(), id);
  if (room.clearQueues) Glim::removeOrGiveUp(*_tables.intfClearQueueCounters(), id);
  if (room.drops) Glim::removeOrGiveUp(*_tables.aclDropCounters(), id);
}

void LibraryRows::releaseAll() {
  while (!_room.empty()) release(_room.begin()->first);
}

void LibraryRows::remove(Pekt::IntfId const& intfId) {
  Glim::removeOrGiveUp(*_tables.intfQueueCounters(), intfId);
  Glim::removeOrGiveUp(*_tables.intfClearQueueCounters(), intfId);
  Glim::removeOrGiveUp(*_tables.aclDropCounters(), intfId);
}

}  // namespace Agent
