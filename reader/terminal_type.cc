#include "reader/terminal_type.h"

#include <unistd.h>

// In a file of their own: their macros have common names.
#include <curses.h>
#include <term.h>

namespace Show {

bool terminalTypeKnown() {
  int found = 0;
  if (::setupterm(nullptr, STDOUT_FILENO, &found) != OK) return false;
  ::del_curterm(cur_term);
  return true;
}

}  // namespace Show
