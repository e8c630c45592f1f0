// Writing and removing for whoever has no other way to go on with a table that turns out to be
// damaged: it is given up, as a lookup that met the damage would have done (glim_map.h), and the
// caller goes on with a table that is detached. What else goes wrong passes through.
#pragma once

#include <type_traits>

#include "platform/dov/exception.h"
#include "platform/glim/collection.h"

namespace Glim {

template <class Record, class Order>
void orGiveUp(Collection<Record>& table, Order const& order) {
  try {
    order();
  } catch (Dov::CorruptionDetectedException const& exception) {
    Kel::Ptr<Collection<Record> const> const alive(&table);
    table.map().corruptionDetected(exception.msg());
  }
}

template <class Record>
void writeOrGiveUp(Collection<Record>& table, std::type_identity_t<Record> const& record) {
  orGiveUp(table, [&] { table.write(record); });
}

template <class Record>
void removeOrGiveUp(Collection<Record>& table, KeyOf<Record> const& key) {
  orGiveUp(table, [&] { table.remove(key); });
}

}  // namespace Glim
