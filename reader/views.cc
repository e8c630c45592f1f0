#include "reader/views.h"

#include <iterator>
#include <string>
#include <utility>

#include "reader/clock_text.h"
#include "reader/units.h"

namespace Show {

namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

// Words with one space between them, whatever the operator wrote: two would end the cell.
std::string oneSpaced(std::string_view text) {
  std::string words;
  for (char const c : text)
    if (c != ' ' || (!words.empty() && words.back() != ' ')) words += c;
  if (!words.empty() && words.back() == ' ') words.pop_back();
  return words;
}

// Up to 256 characters may be there, and one long alias must not hide those of all on a terminal.
constexpr std::size_t kAliasWidth = 32;

Span aliasCell(Intf const& intf, std::size_t width) {
  Span const alias = textCell(intf.description ? intf.description->alias.view() : "");
  return {width == kUnlimited ? alias.text : shortened(alias.text, kAliasWidth)};
}

// One table of counters by name.
struct ErrorColumn {
  std::string_view title;
  std::string_view counter;
  int hideOrder;
};

template <std::size_t n>
void appendNamed(std::vector<Line>& lines, Snapshot const& snapshot, Basis basis, std::size_t width,
                 std::string_view title, ErrorColumn const (&shown)[n]) {
  std::vector<Column> columns{{std::string(title), kLeft}};
  for (ErrorColumn const& one : shown)
    columns.push_back({std::string(one.title), kRight, one.hideOrder});
  columns.push_back({"Age"});
  if (basis == Basis::sinceClear) columns.push_back({kClearedTitle, kRight, 2});
  TextTable table(std::move(columns));
  for (Intf const& intf : snapshot.interfaces) {
    Counters const counters(intf, basis);
    TextTable::Row row{{nameCell(intf)}, rowStyle(intf)};
    for (ErrorColumn const& one : shown) row.cells.push_back(countCell(counters[one.counter]));
    row.cells.push_back(ageCell(snapshot, intf));
    if (basis == Basis::sinceClear) row.cells.push_back(clearedCell(snapshot, intf));
    table.add(std::move(row));
  }
  appendTable(lines, table.text(width));
}

}  // namespace

void appendTable(std::vector<Line>& lines, TextTable::Text text) {
  lines.push_back(std::move(text.title));
  std::move(text.rows.begin(), text.rows.end(), std::back_inserter(lines));
  if (text.hidden != 0)
    lines.push_back(
        {{counted(text.hidden, "column") + " hidden: the terminal is too narrow", Style::dim}});
}

Line agentLine(Snapshot const& snapshot) {
  AgentStatus const& agent = snapshot.agent;
  std::string const process = "process " + std::to_string(agent.pid);
  std::string const heartbeat = "heartbeat " + ageText(agent.heartbeatAge) + " ago";
  switch (agent.state) {
    case AgentState::running:
      return {{"Agent running, " + process + ", " + heartbeat}};
    case AgentState::silent:
      return {{"Agent silent, " + process + ", last " + heartbeat + ": rows are stale",
               Style::warning}};
    case AgentState::notRunning:
      return {{"Agent not running, last " + heartbeat + ": rows are stale", Style::warning}};
    case AgentState::unknown:
      break;
  }
  return {{"Agent unknown: there is no table that would tell", Style::warning}};
}

std::string_view stateName(Intf const& intf) {
  if (!intf.description) return kNotAvailable;
  // Before the administrative state, which is the last that the link had while it was there.
  if (gone(intf)) return name(Interface::OperState::notPresent);
  if (intf.description->adminState == Interface::AdminState::down) return "admin-down";
  if (auto const state = name(intf.description->operState); !state.empty()) return state;
  return kNotAvailable;
}

bool isDown(Intf const& intf) {
  if (!intf.description) return false;
  if (intf.description->adminState == Interface::AdminState::down) return true;
  switch (intf.description->operState) {
    case Interface::OperState::down:
    case Interface::OperState::notPresent:
    case Interface::OperState::lowerLayerDown:
      return true;
    default:
      return false;
  }
}

Span nameCell(Intf const& intf) { return {printable(intf.intfId.view())}; }
Span kernelNameCell(Intf const& intf) { return textCell(intf.kernelName()); }
Span textCell(std::string_view text) {
  std::string const words = oneSpaced(printable(text));
  return {words.empty() ? std::string(kNotAvailable) : words};
}
Span countCell(std::optional<std::uint64_t> value) { return {count(value)}; }

Span timeCell(Snapshot const& snapshot, std::optional<double> time) {
  return {time ? clockText(*time, snapshot.now) : "never"};
}
Span clearedCell(Snapshot const& snapshot, Intf const& intf) {
  return timeCell(snapshot, cleared(intf));
}

Span ageCell(std::optional<double> seconds, bool stale) {
  if (stale && seconds) return {"stale " + ageText(seconds), Style::warning};
  return {ageText(seconds)};
}
Span ageCell(Snapshot const& snapshot, Intf const& intf) {
  return ageCell(age(snapshot, intf), stale(snapshot, intf));
}

std::vector<Line> countersView(Snapshot const& snapshot, Basis basis, std::size_t width) {
  std::vector<Column> columns{
      {"Interface", kLeft},        {"Device", kLeft, 2},      {"State", kLeft, 1},
      {"In octets", kRight, 3},    {"In packets", kRight, 8}, {"In discards", kRight, 9},
      {"In errors", kRight, 7},    {"Out octets", kRight, 4}, {"Out packets", kRight, 8},
      {"Out discards", kRight, 9}, {"Out errors", kRight, 7}, {"Age", kRight, 6}};
  if (basis == Basis::sinceClear) columns.push_back({kClearedTitle, kRight, 5});
  columns.push_back({"Alias", kLeft, 10});
  TextTable table(std::move(columns));
  for (Intf const& intf : snapshot.interfaces) {
    Counters const counters(intf, basis);
    TextTable::Row row{{nameCell(intf),
                        kernelNameCell(intf),
                        {std::string(stateName(intf))},
                        countCell(counters["inOctets"]),
                        countCell(counters.inPkts()),
                        countCell(counters["inDiscards"]),
                        countCell(counters["inErrors"]),
                        countCell(counters["outOctets"]),
                        countCell(counters.outPkts()),
                        countCell(counters["outDiscards"]),
                        countCell(counters["outErrors"]),
                        ageCell(snapshot, intf)},
                       rowStyle(intf)};
    if (basis == Basis::sinceClear) row.cells.push_back(clearedCell(snapshot, intf));
    row.cells.push_back(aliasCell(intf, width));
    table.add(std::move(row));
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

std::vector<Line> ratesView(Snapshot const& snapshot, std::size_t width) {
  TextTable table({{"Interface", kLeft},
                   {"Device", kLeft, 2},
                   {"State", kLeft, 1},
                   {"Speed", kRight, 9},
                   {"In", kRight, 3},
                   {"In use", kRight, 7},
                   {"In packets", kRight, 8},
                   {"Out", kRight, 4},
                   {"Out use", kRight, 7},
                   {"Out packets", kRight, 8},
                   {"Age", kRight, 5}});
  for (Intf const& intf : snapshot.interfaces) {
    std::uint64_t const speed = intf.description ? intf.description->speed : 0;
    auto const known = rates(intf);
    auto const shown = [&known](auto const& text) {
      return Span{known ? text(*known) : std::string(kNotAvailable)};
    };
    using Rates = Interface::IntfRates;
    table.add({{nameCell(intf),
                kernelNameCell(intf),
                {std::string(stateName(intf))},
                {speed != 0 ? bitsRate(static_cast<double>(speed)) : std::string(kNotAvailable)},
                shown([](Rates const& r) { return bitsRate(r.inBitsRate); }),
                shown([&](Rates const& r) { return utilisation(r.inBitsRate, speed); }),
                shown([](Rates const& r) { return pktsRate(r.inPktsRate); }),
                shown([](Rates const& r) { return bitsRate(r.outBitsRate); }),
                shown([&](Rates const& r) { return utilisation(r.outBitsRate, speed); }),
                shown([](Rates const& r) { return pktsRate(r.outPktsRate); }),
                ageCell(snapshot, intf)},
               rowStyle(intf)});
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

std::vector<Line> errorsView(Snapshot const& snapshot, Basis basis, std::size_t width) {
  static constexpr ErrorColumn receive[] = {{"Errors", "inErrors", 0},
                                            {"Alignment", "alignmentErrors", 4},
                                            {"FCS", "fcsErrors", 1},
                                            {"Too long", "frameTooLongs", 5},
                                            {"Too short", "frameTooShorts", 5},
                                            {"MAC", "internalMacReceiveErrors", 3},
                                            {"Symbol", "symbolErrors", 6},
                                            {"Fragments", "inFragments", 7},
                                            {"Jabbers", "inJabbers", 7},
                                            {"Unknown protocols", "inUnknownProtos", 9},
                                            {"Discards", "inDiscards", 8}};
  static constexpr ErrorColumn transmit[] = {{"Errors", "outErrors", 0},
                                             {"SQE test", "sqeTestErrors", 6},
                                             {"Late collisions", "lateCollisions", 3},
                                             {"Excessive collisions", "excessiveCollisions", 5},
                                             {"MAC", "internalMacTransmitErrors", 4},
                                             {"Carrier sense", "carrierSenseErrors", 4},
                                             {"Discards", "outDiscards", 8}};
  std::vector<Line> lines;
  appendNamed(lines, snapshot, basis, width, "Receive", receive);
  lines.emplace_back();
  appendNamed(lines, snapshot, basis, width, "Transmit", transmit);
  return lines;
}

}  // namespace Show
