#include "reader/counters.h"

#include <cstring>
#include <initializer_list>
#include <string>

namespace Show {

std::uint64_t since(std::uint64_t total, std::uint64_t clear) {
  std::uint64_t const difference = total - clear;
  return difference >> 63 ? total : difference;
}

namespace {

using Row = Interface::EthIntfCounterGlim;
using Glim::FieldType;

template <class Record = Row>
Glim::Field const* fieldOf(std::string_view name) {
  for (Glim::Field const& field : Glim::RecordTraits<Record>::fields)
    if (field.name == name) return &field;
  return nullptr;
}

template <class T, class Record>
T at(Record const& row, std::size_t offset) {
  T value;
  std::memcpy(&value, reinterpret_cast<char const*>(&row) + offset, sizeof value);
  return value;
}

std::optional<std::uint64_t> valueSince(Wib::MaybeU63 total, Wib::MaybeU63 clear) {
  if (!total.hasValue()) return std::nullopt;
  Wib::MaybeU63 const difference = total - clear;
  return difference.hasValue() && difference.value() >> 62 == 0 ? difference.value()
                                                                : total.value();
}

template <class Record>
std::optional<std::uint64_t> entry(Record const& row, Record const* clear, Glim::Field const& field,
                                   std::size_t i) {
  std::size_t const offset = field.offset + i * Glim::fieldSize(field.type);
  if (field.type == FieldType::u63) {
    auto const total = at<Wib::MaybeU63>(row, offset);
    return valueSince(total, clear ? at<Wib::MaybeU63>(*clear, offset) : Wib::MaybeU63());
  }
  auto const total = at<std::uint64_t>(row, offset);
  return clear ? since(total, at<std::uint64_t>(*clear, offset)) : total;
}

template <class Record>
std::optional<std::uint64_t> named(Record const& row, Record const* clear, std::string_view name) {
  Glim::Field const* const field = fieldOf<Record>(name);
  return field ? entry(row, clear, *field, 0) : std::nullopt;
}

std::optional<std::uint64_t> sum(Counters const& counters,
                                 std::initializer_list<std::string_view> names) {
  std::optional<std::uint64_t> total;
  for (std::string_view const name : names)
    if (auto const value = counters[name]) total = total.value_or(0) + *value;
  return total;
}

}  // namespace

bool isArray(std::string_view name) {
  Glim::Field const* const field = fieldOf(name);
  return field != nullptr && field->count > 1;
}

bool Counters::counted(std::string_view name) const {
  // Before the first sample a row holds zeros that nobody counted.
  Interface::IntfStatistics const* const statistics = _intf.statistics();
  if (!statistics || !(statistics->lastUpdate > 0.0)) return false;
  return !_intf.description ||
         !Interface::CounterSet::fromWord(_intf.description->unsupported).contains(name);
}

std::optional<std::uint64_t> Counters::operator[](std::string_view name) const {
  if (!counted(name)) return std::nullopt;
  if (!_intf.counters)
    return named<Interface::VlanIntfCounterGlim>(*_intf.vlanCounters, nullptr, name);
  bool const difference = _basis == Basis::sinceClear && _intf.atLastClear;
  return named<Row>(*_intf.counters, difference ? &*_intf.atLastClear : nullptr, name);
}

std::optional<std::vector<std::optional<std::uint64_t>>> Counters::entries(
    std::string_view name) const {
  Glim::Field const* const field = fieldOf(name);
  Glim::Field const* const size = fieldOf(std::string(name) + "Count");
  if (field == nullptr || size == nullptr || !_intf.counters || !counted(name)) return std::nullopt;
  bool const difference = _basis == Basis::sinceClear && _intf.atLastClear;
  std::vector<std::optional<std::uint64_t>> values;
  std::size_t const valid = at<std::uint32_t>(*_intf.counters, size->offset);
  for (std::size_t i = 0; i < valid && i < field->count; ++i)
    values.push_back(entry(*_intf.counters, difference ? &*_intf.atLastClear : nullptr, *field, i));
  return values;
}

std::optional<std::uint64_t> Counters::inPkts() const {
  return sum(*this, {"inUcastPkts", "inMulticastPkts", "inBroadcastPkts"});
}
std::optional<std::uint64_t> Counters::outPkts() const {
  return sum(*this, {"outUcastPkts", "outMulticastPkts", "outBroadcastPkts"});
}

std::optional<Interface::IntfRates> rates(Intf const& intf) {
  if (!intf.rates() || gone(intf)) return std::nullopt;
  Interface::IntfRates const& rates = *intf.rates();
  // The first sample only begins the time over which the next one is averaged.
  if (!(rates.lastUpdate > 0.0) || !(rates.lastUpdate > rates.seeded)) return std::nullopt;
  return rates;
}

}  // namespace Show
