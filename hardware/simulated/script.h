// A simulated chip described in text: what its ports carry and what befalls them, line by line.
//
//   # seconds, port, what happens
//   at 0    port Ethernet1  inUcastPkts 1000pps 512B
//   at 0    port Ethernet1  outUcastPkts 2.5Mpps 1500B queue 3
//   at 0    port Ethernet1  fcsErrors 0.1pps
//   at 0    port Ethernet2  count-from 18446744073709551000          # soon to wrap
//   at 0    port Ethernet2  no-optional-counters
//   at 5    port Ethernet1  outUcastPkts 10Mpps 64B for 0.2          # a burst
//   at 5    port Ethernet1  inUcastPkts 1Mpps 64B every 10 for 2     # a burst every 10 s
//   at 20   port Ethernet1  stop                                     # its traffic ends
//   at 30   port Ethernet1  reset                                    # its counters go back to 0
//   at 40   port Ethernet1  vanish                                   # ... and `appear`
//   at 50   port Ethernet1  break inErrors                           # or outErrors
//
// What is said of Ethernet2 holds from the start whatever its time. A flow is named as the counter
// that counts its frames (see Fate); rates are pps, kpps or Mpps; frames have 64 octets unless a
// size is given. Times are seconds since the chip was switched on and must not fall from line to
// line. What follows a # is a remark.
#pragma once

#include <iosfwd>
#include <stdexcept>
#include <string>

#include "hardware/simulated/chip.h"

namespace Hardware::Simulated {

// A script that cannot be read. The text names the line and says what is wrong with it, as in
// "line 3: unknown event 'explode'".
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Adds to `chip` what the script says. Throws ScriptError; the chip then holds the lines before.
void readScript(std::istream& script, Chip& chip);

}  // namespace Hardware::Simulated
