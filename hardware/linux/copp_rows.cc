#include "hardware/linux/copp_rows.h"

#include <optional>
#include <utility>

#include "platform/dov/exception.h"
#include "platform/glim/give_up.h"

namespace Hardware::Linux {

using Qos::CoppClassName;

CoppRows::CoppRows(Parts parts, std::uint64_t generation, std::function<Kel::Seconds()> now)
    : _parts(std::move(parts)), _generation(generation), _now(std::move(now)) {}

void CoppRows::removeBut(Names const& living) {
  bool const isFirst = std::exchange(_isFirst, false);
  if (isFirst)
    _parts.offsets->forEach([this](CoppOffsetRow const& offsets) {
      if (!_parts.rows->contains(offsets.className))
        Glim::removeOrGiveUp(*_parts.offsets, offsets.className);
    });
  // Those that never had room have no row either.
  std::erase_if(_accounts, [&](auto const& each) {
    return !living.contains(each.first) && !_parts.rows->contains(each.first);
  });
  if (_parts.keepsRows) return;
  Kel::Seconds const now = _parts.steady();
  _parts.rows->forEach([&](Qos::CoppClassCounter const& row) {
    if (living.contains(row.className)) return;
    Kel::Seconds const since = _goneSince.try_emplace(row.className, now).first->second;
    // What an agent before left went while nobody was there to see.
    if (isFirst || now - since >= kReloadGrace) remove(row.className);
  });
}

std::string CoppRows::count(CoppClassName const& className, ClassSource const& source,
                            ClassCounts const& kernel, Names const& living) {
  ClassAccount& account = this->account(className);
  account.advance(source, kernel);
  std::string why = publish(className, account);
  while (!why.empty() && makeRoom(living)) why = publish(className, account);
  return why;
}

void CoppRows::reset(CoppClassName const& className, ClassSource const& source,
                     ClassCounts const& kernel) {
  ClassAccount& account = this->account(className);
  account.reset(source, kernel);
  saveOffsets(className, account);
  Qos::CoppClassCounter row = this->row(className, account);
  row.resetPkts = row.pkts;
  row.resetOctets = row.octets;
  row.lastReset = _now();
  Glim::writeOrGiveUp(*_parts.rows, row);
}

// A row that is not continued is of nothing that goes on.
ClassAccount& CoppRows::account(CoppClassName const& className) {
  auto const at = _accounts.find(className);
  if (at != _accounts.end()) return at->second;
  std::optional<ClassCounts> published;
  std::optional<StoredClassOffsets> stored;
  bool found = false;
  Qos::CoppClassCounter row;
  _parts.rows->safeLookup(className, found, row);
  if (found) published = ClassCounts{row.pkts, row.octets};
  CoppOffsetRow offsets;
  _parts.offsets->safeLookup(className, found, offsets);
  if (found && offsets.generation == _generation) stored = offsets.stored();
  ClassAccount const fresh(published, stored);
  if (!fresh.continues()) remove(className);
  return _accounts.emplace(className, fresh).first->second;
}

std::string CoppRows::publish(CoppClassName const& className, ClassAccount& account) {
  try {
    // Its offsets have their place before the class has its row.
    if (!saveOffsets(className, account) && !_parts.rows->contains(className))
      return "no room for its offsets";
    Glim::writeOrGiveUp(*_parts.rows, row(className, account));
  } catch (Dov::ResourceException const& exception) {
    return exception.message();
  }
  _goneSince.erase(className);
  return {};
}

// The class that went first makes room for one that is there. False: none went.
bool CoppRows::makeRoom(Names const& living) {
  std::optional<Qos::CoppClassCounter> oldest;
  _parts.rows->forEach([&](Qos::CoppClassCounter const& row) {
    if (!living.contains(row.className) && (!oldest || row.lastUpdate < oldest->lastUpdate))
      oldest = row;
  });
  if (oldest) remove(oldest->className);
  return oldest.has_value();
}

// Where they cannot be kept, counting goes on and they are tried again.
bool CoppRows::saveOffsets(CoppClassName const& className, ClassAccount& account) {
  if (!account.mustSave()) return true;
  try {
    Glim::writeOrGiveUp(*_parts.offsets, CoppOffsetRow::of(className, account.stored()));
  } catch (Dov::ResourceException const&) {
    return false;
  }
  account.saved();
  return true;
}

Qos::CoppClassCounter CoppRows::row(CoppClassName const& className, ClassAccount const& account) {
  Qos::CoppClassCounter row = _parts.rows->lookup(className);
  row.className = className;
  row.pkts = account.totals().pkts;
  row.octets = account.totals().octets;
  row.lastUpdate = _now();
  row.policyMap = std::string_view(_parts.policyMap);
  return row;
}

void CoppRows::remove(CoppClassName const& className) {
  CoppClassName const name = className;  // the caller's may go with what is removed
  _accounts.erase(name);
  _goneSince.erase(name);
  Glim::removeOrGiveUp(*_parts.offsets, name);
  Glim::removeOrGiveUp(*_parts.rows, name);
}

}  // namespace Hardware::Linux
