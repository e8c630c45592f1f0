// A directory of tables in shared memory, removed with everything in it.
#pragma once

#include <filesystem>
#include <string_view>
#include <utility>

#include "platform/dov/debug_handler.h"
#include "platform/glim/root_path.h"
#include "platform/glim/table_limits.h"
#include "platform/kel/ptr_interface.h"
#include "tests/support/temporary_folder.h"

namespace Support {

class TemporaryTables {
 public:
  std::filesystem::path const& directory() const { return _folder.path(); }
  // A table of type Table, made anew or taken over; further arguments are its constructor's last.
  template <class Table, class... Args>
  Kel::Ptr<Table> table(std::string_view name, Args&&... args) {
    return table<Table>(Glim::TableLimits{.maxRows = 1024}, name, std::forward<Args>(args)...);
  }
  template <class Table, class... Args>
  Kel::Ptr<Table> table(Glim::TableLimits const& limits, std::string_view name, Args&&... args) {
    return Kel::make<Table>(_debugHandler, Glim::RootPath(_debugHandler, _folder.text(name), true),
                            limits, std::forward<Args>(args)...);
  }

 private:
  Dov::Platform::DebugHandler _debugHandler;
  TemporaryFolder _folder;
};

}  // namespace Support
