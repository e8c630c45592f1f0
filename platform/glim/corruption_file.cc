#include "platform/glim/corruption_file.h"

#include <unistd.h>

#include <ctime>

#include "platform/dov/exception.h"
#include "platform/glim/table_directory.h"

namespace Glim::Util {

namespace {

std::string utcNow() {
  std::time_t const seconds = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace

void writeCorruptionFile(Dov::Platform::DebugHandler& debugHandler, RootPath const& rootPath,
                         std::string_view reason) {
  std::string content = "table: " + rootPath.path() + "\ntime: " + utcNow() +
                        "\nprocess: " + std::to_string(::getpid()) + "\nreason: ";
  content.append(reason).append("\n");
  try {
    TableDirectory(rootPath).writeFile(rootPath.corruptionFile(), content);
  } catch (Dov::Exception const& exception) {
    debugHandler.write(1, "Glim/Util", "writeCorruptionFile", exception.msg());
  }
}

}  // namespace Glim::Util
