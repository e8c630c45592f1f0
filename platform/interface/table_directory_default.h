// Where an agent and its readers meet when neither was told a directory.
#pragma once

#include <cstdlib>
#include <string>

namespace Interface {

// An absolute path that overrides the directory below when it is set and not empty.
inline constexpr char const* kTableDirectoryVariable = "ORU_TABLES";
inline constexpr char const* kTableDirectory = "/dev/shm/oru-counters";

// For programs: libraries read no environment.
inline std::string tableDirectoryDefault() {
  char const* const chosen = std::getenv(kTableDirectoryVariable);
  return chosen != nullptr && *chosen != '\0' ? chosen : kTableDirectory;
}

}  // namespace Interface
