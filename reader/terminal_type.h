// Whether the terminal can be driven.
#pragma once

namespace Show {

// Whether there is a description of the type that TERM names. Asked before the screen is taken:
// where it then fails, the library keeps memory that nobody can give back.
bool terminalTypeKnown();

}  // namespace Show
