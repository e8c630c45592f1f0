#include "reader/table_files.h"

#include <dirent.h>
#include <fnmatch.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "platform/interface/control_socket.h"
#include "reader/units.h"

namespace Show {

namespace {

constexpr std::string_view kTable = ".glim";
constexpr std::string_view kAside = ".glim.aside-";
constexpr std::string_view kNew = ".new";
constexpr std::string_view kLock = ".lock";
constexpr std::string_view kCorruption = ".corruption";

std::string withoutEnd(std::string_view text, std::string_view end) {
  return std::string(text.substr(0, text.size() - end.size()));
}

bool isTable(FileSeen const& seen) { return seen.kind == FileKind::table; }

}  // namespace

std::string_view name(FileKind kind) {
  switch (kind) {
    case FileKind::table:
      return "table";
    case FileKind::setAside:
      return "setAside";
    case FileKind::beingMade:
      return "beingMade";
    case FileKind::lock:
      return "lock";
    case FileKind::corruptionNote:
      return "corruptionNote";
    case FileKind::controlSocket:
      return "controlSocket";
    case FileKind::other:
      break;
  }
  return "other";
}

FileSeen fileSeen(std::string_view file) {
  std::string const whole(file);
  auto const endsIn = [file](std::string_view end) {
    return file.size() > end.size() && file.ends_with(end);
  };
  if (endsIn(kTable)) return {whole, FileKind::table, withoutEnd(file, kTable)};
  if (auto const at = file.rfind(kAside); at != std::string_view::npos && at != 0) {
    std::string_view const number = file.substr(at + kAside.size());
    if (!number.empty() && number.find_first_not_of("0123456789") == std::string_view::npos)
      return {whole, FileKind::setAside, std::string(file.substr(0, at))};
  }
  if (endsIn(kNew)) {
    FileSeen const made = fileSeen(file.substr(0, file.size() - kNew.size()));
    if (made.kind == FileKind::table || made.kind == FileKind::corruptionNote)
      return {whole, FileKind::beingMade, made.table};
  }
  if (endsIn(kLock)) return {whole, FileKind::lock, withoutEnd(file, kLock)};
  if (endsIn(kCorruption)) return {whole, FileKind::corruptionNote, withoutEnd(file, kCorruption)};
  if (file == Interface::kControlSocket) return {whole, FileKind::controlSocket, {}};
  return {whole, FileKind::other, {}};
}

bool TableDirectory::anyTable() const { return std::any_of(files.begin(), files.end(), isTable); }

TableDirectory readDirectory(std::string const& directory, Trust trust) {
  TableDirectory read;
  read.directory = directory;
  read.trust = trust;
  std::unique_ptr<DIR, int (*)(DIR*)> const entries(::opendir(directory.c_str()), &::closedir);
  if (!entries) {
    bool const missing = errno == ENOENT || errno == ENOTDIR;
    read.answer = missing ? Glim::Answer::missing : Glim::Answer::unreadable;
    return read;
  }
  read.answer = Glim::Answer::ok;
  while (dirent const* const entry = ::readdir(entries.get())) {
    std::string_view const file = entry->d_name;
    if (file != "." && file != "..") read.files.push_back(fileSeen(file));
  }
  std::sort(read.files.begin(), read.files.end(),
            [](FileSeen const& a, FileSeen const& b) { return a.file < b.file; });
  return read;
}

std::vector<FileSeen> tablesMeant(TableDirectory const& directory, std::string const& name) {
  std::vector<FileSeen> meant;
  for (FileSeen const& seen : directory.files) {
    bool const byTable = isTable(seen) && (seen.table == name ||
                                           ::fnmatch(name.c_str(), seen.table.c_str(), 0) == 0);
    bool const byFile = (isTable(seen) || seen.kind == FileKind::setAside) && seen.file == name;
    if (byTable || byFile) meant.push_back(seen);
  }
  return meant;
}

Problem unknownTable(TableDirectory const& directory, std::string const& name) {
  std::string known;
  for (FileSeen const& seen : directory.files)
    if (isTable(seen)) known += (known.empty() ? "" : ", ") + printable(seen.table);
  return {ExitCode::unknownName, "there is no table " + printable(name) + " in " +
                                     directory.directory + "; there are: " + known};
}

std::optional<Problem> nothingThere(TableDirectory const& directory) {
  if (directory.answer == Glim::Answer::unreadable)
    return Problem{ExitCode::unreadable,
                   "the directory " + directory.directory + " cannot be read: it takes permission"};
  if (!directory.anyTable()) return noTables(directory.directory);
  return std::nullopt;
}

OpenTable openTable(TableDirectory const& directory, FileSeen const& seen) {
  OpenTable table;
  table.seen = seen;
  std::string const path = directory.path(seen.file);
  table.answer = table.file.open(path, readerOptions(directory.trust, path));
  if (table.answer == Glim::Answer::unsafe) table.stranger = strangerOf(path);
  if (table.answer == Glim::Answer::ok) {
    Glim::HeaderCopy const& header = table.file.header();
    table.schema = Glim::parseSchema(header.schema, header.geometry.rowWords * sizeof(Glim::Word));
  }
  return table;
}

Problem tableProblem(TableDirectory const& directory, OpenTable const& table) {
  return {exitCodeOf(table.answer),
          tableText({directory.directory, directory.trust == Trust::directoryOwner,
                     printable(table.seen.file)},
                    table.answer, table.stranger)};
}

}  // namespace Show
