#include "reader/verify_text.h"

#include <algorithm>
#include <ostream>

#include "reader/checked_table.h"
#include "reader/units.h"

namespace Show {

namespace {

// Beyond this many lines a table is told as what it is: damaged all over.
constexpr std::size_t kMostLines = 100;

}  // namespace

void print(Checked const& checked, std::ostream& out) {
  std::string const name = checked.name();
  Glim::CheckReport const& report = checked.report;
  std::size_t lines = 0;
  for (Glim::Finding const& finding : report.findings) {
    if (++lines > kMostLines) break;
    out << name << ": " << finding.text << '\n';
  }
  if (report.damage > kMostLines)
    out << name << ": and " << counted(report.damage - kMostLines, "more problem") << '\n';
  for (Glim::Finding const& finding : report.unfinished)
    out << name << ": unfinished, the next writer mends it: " << finding.text << '\n';

  out << name << ": ";
  switch (checked.verdict) {
    case Verdict::good:
      out << "good";
      break;
    case Verdict::unfinished:
      out << "good but for a step that a killed writer left undone";
      break;
    case Verdict::overtaken:
      out << "not checked in full: it kept changing";
      break;
    case Verdict::damaged:
      out << "DAMAGED, " << counted(report.damage, "problem");
      break;
    case Verdict::notChecked:
      out << "not checked: " << text(checked.table.answer) << '\n';
      return;
  }
  if (checked.table.answer == Glim::Answer::ok) {
    out << "; " << counted(report.liveRows, "row") << " in " << counted(report.slots, "slot");
    if (report.halfWritten != 0) out << ", " << report.halfWritten << " being written";
  }
  out << '\n';
}

void printSummary(std::vector<Checked> const& all, std::ostream& out) {
  auto const count = [&all](auto... verdict) {
    return static_cast<std::uint64_t>(std::count_if(
        all.begin(), all.end(),
        [=](Checked const& checked) { return ((checked.verdict == verdict) || ...); }));
  };
  out << counted(all.size(), "table") << " checked: " << count(Verdict::good, Verdict::unfinished)
      << " good, " << count(Verdict::damaged) << " damaged";
  if (auto const n = count(Verdict::overtaken); n != 0) out << ", " << n << " in part";
  if (auto const n = count(Verdict::notChecked); n != 0) out << ", " << n << " not at all";
  out << '\n';
}

}  // namespace Show
