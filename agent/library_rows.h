// The rows that the library makes of an Ethernet interface, of its queues and its drops, as far as
// the agent has a hand in them: it sees to it that there is room for them, and that they go.
#pragma once

#include <map>

#include "agent/tables.h"

namespace Agent {

// A table that turns out to be damaged is given up by any of these (give_up.h).
class LibraryRows {
 public:
  // The tables must outlive it.
  explicit LibraryRows(Tables const& tables) : _tables(tables) {}

  // Takes room for those that are not there yet. Throws Dov::ResourceException, and has taken none
  // then.
  void reserve(Pekt::IntfId const& intfId);
  // Leaves to the library what room is taken.
  void release(Pekt::IntfId const& intfId);
  void releaseAll();
  // The library never removes them.
  void remove(Pekt::IntfId const& intfId);

 private:
  // Which rows stand only for those that the library is to make.
  struct Room {
    bool queues = false, clearQueues = false, drops = false;
  };
  void take(Pekt::IntfId const& intfId, Room& room);

  Tables const& _tables;
  std::map<Pekt::IntfId, Room> _room;
};

}  // namespace Agent
