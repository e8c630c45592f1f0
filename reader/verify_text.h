// What `tables verify` prints for people.
#pragma once

#include <iosfwd>
#include <vector>

namespace Show {

struct Checked;

// A line a problem, of a table at most 100, and one with the verdict.
void print(Checked const& checked, std::ostream& out);
void printSummary(std::vector<Checked> const& all, std::ostream& out);

}  // namespace Show
