#include <cstdlib>
#include <filesystem>
#include <optional>

#include "tests/fuzz/targets.h"
#include "tests/platform/glim/hostile/drill.h"
#include "tests/platform/glim/hostile/table_image.h"
#include "tests/support/temporary_folder.h"

namespace Fuzz {

namespace {

constexpr std::uint32_t maxRows = 16;

// On tmpfs, for as long as the process lives; or where the caller says, who then removes it.
class Directory {
 public:
  Directory() {
    if (char const* const named = std::getenv("ORU_FUZZ_TABLES")) {
      _path = std::string(named) + "/" + std::to_string(::getpid());
      std::filesystem::create_directory(_path);
      return;
    }
    _path = _own.emplace().text();
  }
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  std::string const& path() const { return _path; }
  void clear() const {
    for (auto const& left : std::filesystem::directory_iterator(_path)) {
      std::filesystem::remove(left.path());
    }
  }

 private:
  std::optional<Support::TemporaryFolder> _own;
  std::string _path;
};

template <class Record, class Today = Record>
std::string drill(Glim::RootPath const& root, std::string_view bytes,
                  Glim::TableLimits const& limits) {
  GlimTest::DrillCounts counts;
  return GlimTest::Drill<Record, Today>(root, nullptr, counts).run(bytes, limits);
}

}  // namespace

std::string tryTable(std::string_view bytes) {
  static Directory const directory;
  static Dov::Platform::DebugHandler debug(0xff, [](auto const&) {});
  directory.clear();
  Glim::RootPath const root(debug, directory.path() + "/table", false);
  GlimTest::writeFile(directory.path() + "/" + root.dataFile(), std::string(bytes));

  // As a program does that knows the record which the file speaks of. Of some files more room is
  // wanted than they have, and their rows are moved; of some a later schema, and their rows are
  // carried over. Which ones, a word tells that means nothing here.
  std::string_view const schema =
      bytes.substr(std::min<std::size_t>(Glim::Layout::schemaOffset, bytes.size()));
  constexpr std::size_t chooser = Glim::Layout::heartbeatOffset;
  bool const more = chooser < bytes.size() && bytes[chooser] % 4 == 0;
  std::uint32_t const limit = more ? 2 * maxRows : maxRows;
  if (schema.starts_with("Middle")) return drill<GlimTest::Middle>(root, bytes, {limit});
  if (schema.starts_with("Colliding")) return drill<GlimTest::Colliding>(root, bytes, {limit});
  bool const later = chooser + 1 < bytes.size() && bytes[chooser + 1] % 4 == 0;
  if (later) return drill<GlimTest::Small, GlimTest::LaterSmall>(root, bytes, {limit});
  return drill<GlimTest::Small>(root, bytes, {limit});
}

}  // namespace Fuzz
