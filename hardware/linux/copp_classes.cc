#include "hardware/linux/copp_classes.h"

#include <linux/netfilter.h>

#include <algorithm>
#include <utility>

#include "platform/dov/exception.h"

namespace Hardware::Linux {
namespace {

using Qos::CoppClassName;

NftTableName const kTable{NFPROTO_INET, "copp"};
constexpr char const* kNoPermission = "permission";
constexpr char const* kReading = "reading";

bool isPrintable(char c) { return c > ' ' && c <= '~'; }

// What a kernel answers that has no nftables, or no table of that name.
bool isAbsence(std::error_code error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::invalid_argument ||
         error == std::errc::operation_not_supported ||
         error == std::errc::protocol_not_supported ||
         error == std::errc::address_family_not_supported;
}

}  // namespace

CoppClasses::CoppClasses(Parts parts, NftCounterSource& source, std::uint64_t generation,
                         std::function<Kel::Seconds()> now,
                         std::function<void(std::string const&)> say)
    : _parts(std::move(parts)),
      _source(source),
      _generation(generation),
      _now(std::move(now)),
      _say(std::move(say)) {}

void CoppClasses::sayOnce(std::set<std::string>& told, std::string const& about,
                          std::string const& why) {
  if (told.insert(about).second) _say(why);
}

void CoppClasses::refresh() {
  if (_parts.rows) _reading.at(_now(), [this] { read(); });
}

void CoppClasses::read() {
  auto const reading = _source.readTable(kTable);
  if (reading.error) {
    cannotRead(reading.error);
  } else {
    _told.erase(kReading);
    take(reading.table);
  }
}

void CoppClasses::cannotRead(std::error_code error) {
  if (error == std::errc::operation_not_permitted || error == std::errc::permission_denied) {
    sayOnce(_told, kNoPermission,
            "control-plane policing classes are not counted: reading the nftables "
            "table " +
                kTable.text() + " needs CAP_NET_ADMIN");
    _classes.reset();
  } else if (isAbsence(error)) {
    removeRowsBut({});
    _toldOf.clear();
    _classes.reset();
  } else {
    sayOnce(
        _told, kReading,
        "the nftables table " + kTable.text() + " cannot be read, trying on: " + error.message());
  }
}

void CoppClasses::take(NftTable const& table) {
  _tableHandle = table.handle;
  forgetToldBut(table);
  Names living;
  for (NftCounter const& counter : table.counters)
    if (isClassName(counter.name)) living.insert(CoppClassName(counter.name));
  removeRowsBut(living);
  Names counted;
  std::size_t refused = 0;
  std::string first;
  for (NftCounter const& counter : table.counters) {
    if (!CoppClassName::isName(counter.name) || !living.contains(counter.name)) continue;
    std::string why = count(counter);
    while (!why.empty() && makeRoom(living)) why = count(counter);
    if (why.empty())
      counted.insert(CoppClassName(counter.name));
    else if (refused++ == 0)
      first = counter.name + " is not counted: " + why;
  }
  sayRefused(refused, first);
  _classes = std::move(counted);
}

void CoppClasses::forgetToldBut(NftTable const& table) {
  if (_toldOf.empty()) return;
  std::set<std::string_view> present;
  for (NftCounter const& counter : table.counters) present.insert(counter.name);
  std::erase_if(_toldOf, [&](std::string const& name) { return !present.contains(name); });
}

// One line however many there are, and another only when there are more than ever since there was
// room for all.
void CoppClasses::sayRefused(std::size_t refused, std::string const& first) {
  if (refused > _toldRefused)
    _say(refused == 1 ? "policing class " + first
                      : std::to_string(refused) + " policing classes are not counted; " + first);
  _toldRefused = refused == 0 ? 0 : std::max(refused, _toldRefused);
}

bool CoppClasses::isClassName(std::string const& name) {
  if (CoppClassName::isName(name) && !name.empty() &&
      std::all_of(name.begin(), name.end(), isPrintable))
    return true;
  std::string shown = name;
  std::replace_if(
      shown.begin(), shown.end(), [](char c) { return !isPrintable(c); }, '?');
  sayOnce(_toldOf, name,
          "the counter '" + shown + "' of the nftables table " + kTable.text() +
              " is not counted: the name of a class has 1 to " +
              std::to_string(CoppClassName::kMaxLength) + " characters and no blanks");
  return false;
}

// A row that is not continued is of nothing that goes on.
ClassAccount& CoppClasses::account(CoppClassName const& className) {
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
  if (!fresh.continues()) removeRow(className);
  return _accounts.emplace(className, fresh).first->second;
}

// Answers why there is no room for the class; nothing if there is.
std::string CoppClasses::count(NftCounter const& counter) {
  CoppClassName const className(counter.name);
  ClassAccount& account = this->account(className);
  account.advance({_generation, _tableHandle, counter.handle}, {counter.pkts, counter.octets});
  try {
    // Its offsets have their place before the class has its row.
    if (!saveOffsets(className, account) && !_parts.rows->contains(className))
      return "no room for its offsets";
    _parts.rows->counterIs(row(className, account));
  } catch (Dov::ResourceException const& exception) {
    return exception.message();
  }
  _goneSince.erase(className);
  return {};
}

// The class that went first makes room for one that is there. False: none went.
bool CoppClasses::makeRoom(Names const& living) {
  std::optional<Qos::CoppClassCounter> oldest;
  _parts.rows->forEach([&](Qos::CoppClassCounter const& row) {
    if (!living.contains(row.className) && (!oldest || row.lastUpdate < oldest->lastUpdate))
      oldest = row;
  });
  if (oldest) removeRow(oldest->className);
  return oldest.has_value();
}

// Where they cannot be kept, counting goes on and they are tried again.
bool CoppClasses::saveOffsets(CoppClassName const& className, ClassAccount& account) {
  if (!account.mustSave()) return true;
  try {
    _parts.offsets->write(CoppOffsetRow::of(className, account.stored()));
  } catch (Dov::ResourceException const&) {
    return false;
  }
  account.saved();
  return true;
}

Qos::CoppClassCounter CoppClasses::row(CoppClassName const& className,
                                       ClassAccount const& account) {
  Qos::CoppClassCounter row = _parts.rows->lookup(className);
  row.className = className;
  row.pkts = account.totals().pkts;
  row.octets = account.totals().octets;
  row.lastUpdate = _now();
  row.policyMap = std::string_view(_parts.policyMap);
  return row;
}

void CoppClasses::reset(std::string_view className) {
  if (!_classes || !CoppClassName::isName(className)) return;
  refresh();
  if (!_classes || !_classes->contains(className)) return;
  std::string const name(className);
  auto const reading = _source.reset({kTable.family, kTable.name, name});
  if (reading.error) {
    if (!isAbsence(reading.error))
      sayOnce(_toldOf, name,
              "policing class " + name + " cannot be reset: " + reading.error.message());
    return;
  }
  _toldOf.erase(name);
  NftCounter const& counter = reading.counter;
  ClassAccount& account = this->account(className);
  account.reset({_generation, _tableHandle, counter.handle}, {counter.pkts, counter.octets});
  saveOffsets(className, account);
  Qos::CoppClassCounter row = this->row(className, account);
  row.resetPkts = row.pkts;
  row.resetOctets = row.octets;
  row.lastReset = _now();
  _parts.rows->counterIs(row);
}

void CoppClasses::removeRowsBut(Names const& living) {
  bool const isFirst = std::exchange(_isFirst, false);
  if (isFirst)
    _parts.offsets->forEach([this](CoppOffsetRow const& offsets) {
      if (!_parts.rows->contains(offsets.className)) _parts.offsets->remove(offsets.className);
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
    if (isFirst || now - since >= kReloadGrace) removeRow(row.className);
  });
}

void CoppClasses::removeRow(CoppClassName const& className) {
  CoppClassName const name = className;  // the caller's may go with what is removed
  _accounts.erase(name);
  _goneSince.erase(name);
  _parts.offsets->remove(name);
  _parts.rows->counterDel(name);
}

}  // namespace Hardware::Linux
