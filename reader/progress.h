// How far a long check is, on standard error: on a terminal a line that is written over and goes
// away, elsewhere a line now and then, and only when it was asked for.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace Show {

class Progress {
 public:
  struct Place {
    bool terminal = false;
    bool wanted = false;                 // at once; else only on a terminal, after a while
    std::function<double()> clock = {};  // seconds, of any begin
  };
  Progress(Place place, std::ostream& err);

  void begin(std::string const& what);
  void tell(std::uint64_t done, std::uint64_t of);
  void end();

 private:
  Place _place;
  std::ostream& _err;
  std::string _what;
  double _begun = 0.0;
  double _last = 0.0;
  bool _shown = false;
};

}  // namespace Show
