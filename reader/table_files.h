// The files of a directory of tables, each for what it is.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/glim/schema.h"
#include "platform/glim/table_file.h"
#include "reader/problems.h"
#include "reader/trust.h"

namespace Show {

enum class FileKind {
  table,           // NAME.glim
  setAside,        // NAME.glim.aside-N: found under the name by a writer that could not use it
  beingMade,       // NAME.glim.new, and others that end so: not yet under its name
  lock,            // NAME.lock
  corruptionNote,  // NAME.corruption
  controlSocket,   // where the agent is asked
  other,
};
std::string_view name(FileKind kind);

struct FileSeen {
  std::string file;  // within the directory
  FileKind kind = FileKind::other;
  std::string table;  // that it belongs to; empty for others
};

// What a name in a directory of tables says of the file.
FileSeen fileSeen(std::string_view file);

struct TableDirectory {
  std::string directory;
  Trust trust = Trust::directoryOwner;
  Glim::Answer answer = Glim::Answer::missing;  // ok, missing or unreadable
  std::vector<FileSeen> files;                  // in order of their names

  std::string path(std::string const& file) const { return directory + "/" + file; }
  bool anyTable() const;
};

TableDirectory readDirectory(std::string const& directory, Trust trust);

// The tables, and files set aside, that a NAME of the command line means: a table's name, a file's
// name, or a pattern of fnmatch(3) for tables' names.
std::vector<FileSeen> tablesMeant(TableDirectory const& directory, std::string const& name);

// What must be told where there is no table of that name.
Problem unknownTable(TableDirectory const& directory, std::string const& name);
// Why there is nothing to show at all, if so.
std::optional<Problem> nothingThere(TableDirectory const& directory);

// One table file, opened, and what it says of its rows.
struct OpenTable {
  FileSeen seen;
  Glim::Answer answer = Glim::Answer::missing;
  Glim::TableFile file;
  std::optional<Glim::Schema> schema;  // none where the text is not understood
  std::string stranger;                // owner of a file that is unsafe, where that is why
};
OpenTable openTable(TableDirectory const& directory, FileSeen const& seen);
// What is to be told of one that could not be opened. REQUIRES: table.answer is not ok
Problem tableProblem(TableDirectory const& directory, OpenTable const& table);

}  // namespace Show
