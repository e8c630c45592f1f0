// The entries of collections whose records carry their keys.
#pragma once

#include <utility>

#include "platform/interface/queue_counter.h"
#include "platform/kel/rb_tree_map.h"
#include "tester/unit.h"

namespace Oru::Counters::Tester {

// The record of one interface, under a key that stays.
class RecordEntry {
 public:
  using Record = Interface::QueueCounter::IntfQueueCounter;
  using Key = Pekt::IntfId;
  struct KeyFunktor {
    Key const& operator()(Record const& record) const { return record.intfId; }
  };

  explicit RecordEntry(Record const& value) : _fwkKey(KeyFunktor()(value)), _value(value) {}

  Key const& fwkKey() const { return _fwkKey; }
  Record const& value() const { return _value; }
  // REQUIRES: the same key.
  void valueIs(Record const& value) {
    require(fwkKey() == KeyFunktor()(value), "fwkKey() == KeyFunktor()( _value )");
    _value = value;
  }

 private:
  Key const _fwkKey;
  Record _value;
};

}  // namespace Oru::Counters::Tester
