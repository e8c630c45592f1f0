#include "reader/queue_view.h"

#include <iterator>
#include <string>
#include <utility>

#include "reader/cells.h"
#include "reader/queue_counters.h"
#include "reader/text_table.h"
#include "reader/units.h"

namespace Show {

namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

std::string nameOrNone(OruTypes::QueueType type) {
  return std::string(name(type).empty() ? kNotAvailable : name(type));
}

std::string indexText(Queue const& queue) {
  return std::to_string(queue.first) + (queue.isSum() ? "+" : "");
}

// Without an interface's row there is nothing that would tell the age of those of its queues.
Span queueAgeCell(Snapshot const& snapshot, Intf const& intf) {
  return intf.counters && intf.queues ? ageCell(snapshot, intf) : Span{std::string(kNotAvailable)};
}

Line sumNote(Intf const& intf, Queue const& queue) {
  return {{printable(intf.intfId.view()) + " has " + std::to_string(queue.last + 1) + " queues; " +
           indexText(queue) + " is the sum of queues " + std::to_string(queue.first) + " to " +
           std::to_string(queue.last)}};
}

}  // namespace

std::vector<Line> queuesView(Snapshot const& snapshot, Basis basis, std::size_t width) {
  std::vector<Column> columns{{"Interface", kLeft},
                              {"Device", kLeft, 5},
                              {"Queue", kRight},
                              {"Type", kLeft, 6},
                              {"Packets", kRight, 1},
                              {"Octets", kRight, 3},
                              {"Dropped packets", kRight, 1},
                              {"Dropped octets", kRight, 7},
                              {"Age", kRight, 4}};
  if (basis == Basis::sinceClear) columns.push_back({kClearedTitle, kRight, 2});
  TextTable table(std::move(columns));
  std::vector<Line> sums;
  for (Intf const& intf : snapshot.interfaces) {
    auto const add = [&](std::string queue, std::string type, QueueValues const& values) {
      TextTable::Row row{
          {nameCell(intf), kernelNameCell(intf), {std::move(queue)}, {std::move(type)}},
          rowStyle(intf)};
      for (auto const& value : values) row.cells.push_back(countCell(value));
      row.cells.push_back(queueAgeCell(snapshot, intf));
      if (basis == Basis::sinceClear) row.cells.push_back(clearedCell(snapshot, intf));
      table.add(std::move(row));
    };
    auto const all = queues(intf, basis);
    for (Queue const& queue : all) add(indexText(queue), nameOrNone(queue.type), queue.values);
    bool const together = queuesAreCountedTogether(intf);
    if (together) add("all", "all", allQueues(intf, basis));
    if (all.empty() && !together) add("none", std::string(kNotAvailable), {});
    if (!all.empty() && all.back().isSum()) sums.push_back(sumNote(intf, all.back()));
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  std::move(sums.begin(), sums.end(), std::back_inserter(lines));
  return lines;
}

}  // namespace Show
