#include "reader/rates_view.h"

#include <string>

#include "reader/cells.h"
#include "reader/counters.h"
#include "reader/text_table.h"
#include "reader/units.h"

namespace Show {

namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

}  // namespace

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
    table.add(
        {{nameCell(intf), kernelNameCell(intf), stateCell(intf), speedCell(speed),
          shown([](Rates const& r) { return bitsRate(r.inBitsRate); }),
          shown([&](Rates const& r) { return utilisation(r.inBitsRate, speed); }),
          shown([](Rates const& r) { return pktsRate(r.inPktsRate); }),
          shown([](Rates const& r) { return bitsRate(r.outBitsRate); }),
          shown([&](Rates const& r) { return utilisation(r.outBitsRate, speed); }),
          shown([](Rates const& r) { return pktsRate(r.outPktsRate); }), ageCell(snapshot, intf)},
         rowStyle(intf)});
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

}  // namespace Show
