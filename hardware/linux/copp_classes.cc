#include "hardware/linux/copp_classes.h"

#include <linux/netfilter.h>

#include <algorithm>
#include <utility>

namespace Hardware::Linux {
namespace {

using Qos::CoppClassName;

NftTableName const kTable{NFPROTO_INET, "copp"};
constexpr char const* kNoPermission = "permission";
constexpr char const* kReading = "reading";

ClassCounts countsOf(NftCounter const& counter) { return {counter.pkts, counter.octets}; }

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
    : _rows(std::move(parts), generation, now),
      _source(source),
      _generation(generation),
      _now(std::move(now)),
      _say(std::move(say)) {}

ClassSource CoppClasses::sourceOf(NftCounter const& counter) const {
  return {_generation, _tableHandle, counter.handle};
}

void CoppClasses::sayOnce(std::set<std::string>& told, std::string const& about,
                          std::string const& why) {
  if (told.insert(about).second) _say(why);
}

void CoppClasses::refresh() {
  if (_rows.exist()) _reading.at(_now(), [this] { read(); });
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
    _rows.removeBut({});
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
  _rows.removeBut(living);
  Names counted;
  std::size_t refused = 0;
  std::string first;
  for (NftCounter const& counter : table.counters) {
    if (!CoppClassName::isName(counter.name) || !living.contains(counter.name)) continue;
    CoppClassName const className(counter.name);
    std::string const why = _rows.count(className, sourceOf(counter), countsOf(counter), living);
    if (why.empty())
      counted.insert(className);
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
  _rows.reset(className, sourceOf(reading.counter), countsOf(reading.counter));
}

}  // namespace Hardware::Linux
