// One command `show X`, whole: its words on the command line, the tables that it reads, and what it
// prints of them. docs/architecture.md says how one is added.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reader/json_view.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/snapshot.h"
#include "reader/styled_text.h"

namespace Show {

struct Options;

// What is not said is as with commands about the Ethernet interfaces.
struct ShowCommand {
  struct Flag {
    char const* name;
    bool Options::*value;
    char const* about;
  };
  // What may be named, to show that alone.
  struct Names {
    char const* argument = "NAME";  // what help calls it
    char const* about =
        "Interfaces to show: names (Ethernet3), the kernel's names (eth0), or patterns "
        "('Ethernet*')";
    std::string (*wrong)(std::string const& name) = nullptr;  // empty: nothing is
  };
  using Views = std::vector<std::vector<Line>>;

  // On the command line.
  char const* name;
  char const* singular = nullptr;  // is understood too
  char const* about;               // in its help
  Names names = {};
  std::span<Flag const> flags = {};  // besides --json

  // Of the tables.
  std::span<Table const> tables;           // that it reads
  std::optional<Table> essential = {};     // without it there is nothing to show
  IntfKind intfKind = IntfKind::ethernet;  // of which it shows interfaces
  std::vector<std::string> (*select)(Snapshot& snapshot, std::vector<std::string> const& names) =
      Show::select;  // keeps what the names mean, answers the others
  Named named = {};  // what names are of
  bool (*isEmpty)(Snapshot const& snapshot) = [](Snapshot const& snapshot) {
    return snapshot.interfaces.empty();
  };
  char const* none = "No interfaces.";  // told where it is empty

  // What it prints: lines before all views, the views one below the other, and JSON.
  std::vector<Line> (*notes)(Snapshot const& snapshot, Options const& options) = nullptr;
  Views (*views)(Snapshot const& snapshot, Options const& options, std::size_t width);
  JsonArray json;
};

// The note of a command that has --since-clear: that there was a clear, where the counts are as
// published.
std::vector<Line> clearNote(Snapshot const& snapshot, Options const& options);

}  // namespace Show
