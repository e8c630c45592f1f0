// What oru-counters answers to its caller. The numbers are stable; scripts depend on them.
#pragma once

#include <string_view>

#include "platform/glim/answer.h"

namespace Show {

// Where several apply, the program ends with the least one of tableMissing to unsafeTable, else
// with damageFound, else with rowsLeftOut, else with unknownName.
enum class ExitCode : int {
  ok = 0,
  failed = 1,       // the machine gave out: output could not be written, no memory
  usage = 2,        // an option or a value that there is not
  unknownName = 3,  // a NAME that no interface, class, VLAN or table has; the others are shown, and
                    // nothing is cleared or polled
  tableMissing = 4,  // no such directory or table: the agent never ran there
  unreadable = 5,    // no permission, or the file could not be opened
  notATable = 6,     // the file is no table, is damaged or cut short
  otherVersion = 7,  // a table of another layout or of other records
  unsafeTable = 8,   // not a regular file, of an untrusted owner, or writable by others
  rowsLeftOut = 9,   // a row was corrupt or kept changing; the others are shown
  damageFound = 10,  // `tables verify` found damage in a table that can be read
  // Of the commands that ask the agent:
  noAgent = 11,         // none answers
  noPermission = 12,    // this user may not do that
  refused = 13,         // there is no such path, attribute, operation or poller
  wrongArguments = 14,  // their number, or a text that is no such value
  agentFailed = 15,     // it tried and could not, or did not answer in time
};

constexpr int number(ExitCode code) { return static_cast<int>(code); }

// For what may happen to a table; ok for the answers that concern one row.
constexpr ExitCode exitCodeOf(Glim::Answer answer) {
  switch (answer) {
    case Glim::Answer::missing:
    case Glim::Answer::retired:
      return ExitCode::tableMissing;
    case Glim::Answer::unreadable:
      return ExitCode::unreadable;
    case Glim::Answer::notATable:
    case Glim::Answer::truncated:
      return ExitCode::notATable;
    case Glim::Answer::otherLayout:
    case Glim::Answer::otherSchema:
      return ExitCode::otherVersion;
    case Glim::Answer::unsafe:
      return ExitCode::unsafeTable;
    case Glim::Answer::ok:
    case Glim::Answer::absent:
    case Glim::Answer::busy:
    case Glim::Answer::corrupt:
      break;
  }
  return ExitCode::ok;
}

// As --help shows it.
inline constexpr std::string_view kExitCodesText =
    "Exit codes:\n"
    "  0  all is shown\n"
    "  1  the output could not be written, or the machine gave out\n"
    "  2  wrong usage\n"
    "  3  a NAME that no interface, class, VLAN or table has; the others are shown, nothing is\n"
    "     cleared or polled\n"
    "  4  no tables there: the agent has not run\n"
    "  5  a table cannot be opened: no permission\n"
    "  6  a file is no table, or is damaged\n"
    "  7  a table of another version of this program\n"
    "  8  a table that is not safe to read: its owner, mode or type\n"
    "  9  a row was left out: it is corrupt, or kept changing; the others are shown\n"
    " 10  'tables verify' found damage in a table that can be read\n"
    " 11  no agent answers\n"
    " 12  this user may not ask the agent that\n"
    " 13  the agent has no such path, attribute, operation or poller\n"
    " 14  wrong arguments: their number, or a text that is no such value\n"
    " 15  the agent failed, or did not answer in time\n";

}  // namespace Show
