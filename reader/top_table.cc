#include "reader/top_table.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "reader/cells.h"
#include "reader/counters.h"
#include "reader/intf_state.h"
#include "reader/live_rates.h"
#include "reader/units.h"

namespace Show {

namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;
// The widest of "84.2 kp/s" and its like.
constexpr std::size_t kRateWidth = 9;

std::optional<std::uint64_t> sum(std::optional<std::uint64_t> a, std::optional<std::uint64_t> b) {
  if (!a && !b) return std::nullopt;
  return a.value_or(0) + b.value_or(0);
}

std::optional<std::uint64_t> errorCount(Intf const& intf, Basis basis) {
  Counters const counters(intf, basis);
  return sum(counters["inErrors"], counters["outErrors"]);
}

std::optional<double> sortValue(Intf const& intf, TopOptions const& options) {
  auto const number = [](std::optional<std::uint64_t> value) {
    return value ? std::optional(static_cast<double>(*value)) : std::nullopt;
  };
  if (options.sort == SortKey::errors) return number(errorCount(intf, options.basis));
  bool const in = options.sort == SortKey::in;
  if (options.totals) return number(Counters(intf, options.basis)[in ? "inOctets" : "outOctets"]);
  auto const known = liveRates(intf);
  double const rate = !known ? -1.0 : in ? known->inBitsRate : known->outBitsRate;
  return std::isfinite(rate) && rate >= 0.0 ? std::optional(rate) : std::nullopt;
}

std::string octets(std::optional<std::uint64_t> value) {
  return value ? scaled(static_cast<double>(*value), "B") : std::string(kNotAvailable);
}

void addRates(TextTable::Row& row, Intf const& intf) {
  auto const known = liveRates(intf);
  std::uint64_t const speed = intf.description ? intf.description->speed : 0;
  auto const add = [&](double Interface::IntfRates::*bits, double Interface::IntfRates::*pkts) {
    std::string const none(kNotAvailable);
    row.cells.push_back({known ? bitsRate((*known).*bits) : none});
    row.cells.push_back({known ? utilisation((*known).*bits, speed) : none});
    row.cells.push_back({known ? pktsRate((*known).*pkts) : none});
  };
  add(&Interface::IntfRates::inBitsRate, &Interface::IntfRates::inPktsRate);
  add(&Interface::IntfRates::outBitsRate, &Interface::IntfRates::outPktsRate);
}

void addTotals(TextTable::Row& row, Counters const& counters) {
  row.cells.push_back({octets(counters["inOctets"])});
  row.cells.push_back(countCell(counters.inPkts()));
  row.cells.push_back({octets(counters["outOctets"])});
  row.cells.push_back(countCell(counters.outPkts()));
}

std::vector<Column> columns(bool totals, Basis basis) {
  std::vector<Column> all{{"Interface", kLeft}, {"Device", kLeft, 2}, {"State", kLeft, 1, 4}};
  auto const add = [&all](Column column) { all.push_back(std::move(column)); };
  if (totals) {
    for (std::string const way : {"In", "Out"}) {
      add({way + " octets", kRight, 3, kRateWidth});
      add({way + " packets", kRight, 9, kRateWidth});
    }
  } else {
    add({"Speed", kRight, 10});
    for (std::string const way : {"In", "Out"}) {
      add({way, kRight, 3, kRateWidth});
      add({way + " use", kRight, 7, 7});
      add({way + " packets", kRight, 9, kRateWidth});
    }
  }
  add({"Discards", kRight, 8});
  add({"Errors", kRight, 4});
  add({"Age", kRight, 5, 5});
  if (totals && basis == Basis::sinceClear) add({kClearedTitle, kRight, 5});
  return all;
}

}  // namespace

void ErrorWatch::see(Snapshot const& snapshot) {
  for (Intf const& intf : snapshot.interfaces) {
    auto const errors = errorCount(intf, Basis::total);
    if (!errors) continue;
    auto const [seen, first] = _seen.try_emplace(intf.intfId, Seen{*errors});
    if (!first && *errors > seen->second.errors) seen->second.lastRise = snapshot.now;
    seen->second.errors = *errors;
  }
}

bool ErrorWatch::rising(Snapshot const& snapshot, Intf const& intf) const {
  auto const seen = _seen.find(intf.intfId);
  return seen != _seen.end() && seen->second.lastRise > 0.0 &&
         snapshot.now - seen->second.lastRise < kMarked;
}

void sort(Snapshot& snapshot, TopOptions const& options) {
  if (options.sort == SortKey::name) return;  // as they come
  std::stable_sort(snapshot.interfaces.begin(), snapshot.interfaces.end(),
                   [&options](Intf const& a, Intf const& b) {
                     auto const left = sortValue(a, options), right = sortValue(b, options);
                     return left && (!right || *left > *right);
                   });
}

TextTable topTable(Snapshot const& snapshot, ErrorWatch const& errors, TopOptions const& options) {
  TextTable table(columns(options.totals, options.basis));
  for (Intf const& intf : snapshot.interfaces) {
    Counters const counters(intf, options.basis);
    std::uint64_t const speed = intf.description ? intf.description->speed : 0;
    TextTable::Row row{{nameCell(intf), kernelNameCell(intf), stateCell(intf)}, rowStyle(intf)};
    if (options.totals) {
      addTotals(row, counters);
    } else {
      row.cells.push_back(speedCell(speed));
      addRates(row, intf);
    }
    row.cells.push_back(countCell(sum(counters["inDiscards"], counters["outDiscards"])));
    Span errorCell = countCell(errorCount(intf, options.basis));
    if (errors.rising(snapshot, intf)) errorCell.style = Style::alert;
    row.cells.push_back(std::move(errorCell));
    row.cells.push_back(ageCell(snapshot, intf));
    if (options.totals && options.basis == Basis::sinceClear)
      row.cells.push_back(clearedCell(snapshot, intf));
    table.add(std::move(row));
  }
  return table;
}

std::string topNote(Snapshot const& snapshot, TopOptions const& options) {
  std::string note;
  if (!options.totals) note += "; " + std::string(liveRatesNote(snapshot));
  if (options.basis == Basis::sinceClear)
    note += "; counts since the last clear";
  else if (anyCleared(snapshot))
    note += "; counts as published: there was a clear";
  return note;
}

std::string summary(Snapshot const& snapshot, ErrorWatch const& errors) {
  std::size_t up = 0, rising = 0;
  for (Intf const& intf : snapshot.interfaces) {
    if (stateName(intf) == "up") ++up;
    if (errors.rising(snapshot, intf)) ++rising;
  }
  std::string text =
      counted(snapshot.interfaces.size(), "interface") + ", " + std::to_string(up) + " up";
  if (rising != 0) text += ", " + std::to_string(rising) + " with new errors";
  return text;
}

}  // namespace Show
