#include "reader/tables_verify.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "reader/json_pieces.h"
#include "reader/options.h"
#include "reader/verify_json.h"
#include "reader/verify_text.h"

namespace Show {

namespace {

// Each once, in the order of the directory.
std::vector<FileSeen> wanted(TableDirectory const& directory, std::vector<std::string> const& names,
                             std::vector<Problem>& wrong) {
  std::vector<std::string> files;
  for (std::string const& name : names) {
    auto const meant = tablesMeant(directory, name);
    if (meant.empty()) wrong.push_back(unknownTable(directory, name));
    for (FileSeen const& seen : meant) files.push_back(seen.file);
  }
  std::vector<FileSeen> found;
  for (FileSeen const& seen : directory.files) {
    bool const named = std::find(files.begin(), files.end(), seen.file) != files.end();
    if (names.empty() ? seen.kind == FileKind::table : named) found.push_back(seen);
  }
  return found;
}

}  // namespace

ExitCode tablesVerify(Options const& options, VerifyWorld const& world, std::ostream& out,
                      std::ostream& err) {
  TableDirectory const directory = readDirectory(options.directory, options.trust());
  std::vector<Problem> wrong;
  std::vector<Checked> all;
  if (auto const nothing = nothingThere(directory)) {
    wrong.push_back(*nothing);
  } else {
    Progress progress(world.progress, err);
    for (FileSeen const& seen : wanted(directory, options.names, wrong)) {
      all.push_back(check(directory, seen, world, progress));
      wrong.insert(wrong.end(), all.back().wrong.begin(), all.back().wrong.end());
      if (!options.json) print(all.back(), out);
    }
    if (!options.json && all.size() > 1) printSummary(all, out);
  }
  if (options.json) out << jsonText(verifyJson(directory, world.now, all, wrong), false);
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
