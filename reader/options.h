// The command line.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "reader/basis.h"
#include "reader/exit_code.h"
#include "reader/sort_key.h"
#include "reader/trust.h"

namespace Show {

struct ShowCommand;

struct Options {
  enum class Command {
    show,
    top,
    tablesList,
    tablesVerify,
    tablesDump,
    clear,
    clearCopp,
    clearVlans,
    poll,
    get,
    ls,
    invoke,
    set
  };

  Command command = Command::show;
  ShowCommand const* show = nullptr;  // which; not null where that is the command
  std::string directory;
  bool directoryNamed = false;     // by the user; else it is the usual one
  std::vector<std::string> names;  // of interfaces, classes, VLANs or tables; none: all
  bool json = false;
  bool sinceClear = false;

  // flags of commands `show`, which say what they do
  bool errors = false;
  bool rates = false;
  bool sinceReset = false;

  // top
  double interval = 1.0;           // seconds from one table to the next
  std::optional<double> duration;  // plain tables, for so many seconds
  SortKey sort = SortKey::name;

  // tables verify
  bool progress = false;  // told in any case

  // poll (whose names are above)
  std::string kind;  // one of kPollKinds; empty: every kind

  // clear (whose names are above), get, ls, invoke and set
  std::vector<std::string> words;  // as given: PATH, ATTRIBUTE ...
  double timeout = 10.0;           // seconds, for each answer; of poll too

  Trust trust() const { return directoryNamed ? Trust::directoryOwner : Trust::ownTables; }
  Basis basis() const { return sinceClear ? Basis::sinceClear : Basis::total; }
};

// Fills the options, or answers how to end at once: help and version go to `out`, what is wrong to
// `err`.
std::optional<ExitCode> parse(int argc, char const* const* argv, Options& options,
                              std::ostream& out, std::ostream& err);

}  // namespace Show
