#include "reader/counters_view.h"
#include "reader/errors_view.h"
#include "reader/rates_view.h"
#include "reader/show_commands.h"
#include "reader/show_flags.h"

namespace Show {

namespace {

constexpr Table kTables[]{Table::counters, Table::clearCounters, Table::descriptions};
constexpr ShowCommand::Flag kFlags[]{
    kSinceClearFlag, kRatesFlag, {"--errors", &Options::errors, "Errors by their classes"}};

std::vector<Line> notes(Snapshot const& snapshot, Options const& options) {
  std::vector<Line> lines;
  if (options.rates) lines.push_back({{std::string(kRatesNote)}});
  bool const counts = options.errors || !options.rates;
  if (!counts && options.sinceClear) lines.push_back({{std::string(kRatesSinceClearNote)}});
  if (counts)
    for (Line& line : clearNote(snapshot, options)) lines.push_back(std::move(line));
  return lines;
}

ShowCommand::Views views(Snapshot const& snapshot, Options const& options, std::size_t width) {
  ShowCommand::Views all;
  if (options.rates) all.push_back(ratesView(snapshot, width));
  if (options.errors) all.push_back(errorsView(snapshot, options.basis(), width));
  if (all.empty()) all.push_back(countersView(snapshot, options.basis(), width));
  return all;
}

}  // namespace

// Nothing is essential: the interfaces may have descriptions without counters.
constinit ShowCommand const kShowInterfaces{.name = "interfaces",
                                            .singular = "interface",
                                            .about = "Counts, rates or errors of the interfaces",
                                            .flags = kFlags,
                                            .tables = kTables,
                                            .notes = notes,
                                            .views = views,
                                            .json = kInterfacesArray};

}  // namespace Show
