#include "reader/progress.h"

#include <ostream>
#include <utility>

namespace Show {

namespace {

// A check that is done by then needs no word.
constexpr double kPatience = 1.0;
constexpr double kOnTerminal = 0.1;
constexpr double kElsewhere = 1.0;

}  // namespace

Progress::Progress(Place place, std::ostream& err) : _place(std::move(place)), _err(err) {}

void Progress::begin(std::string const& what) {
  _what = what;
  _begun = _place.clock();
  _last = _begun;
  _shown = false;
}

void Progress::tell(std::uint64_t done, std::uint64_t of) {
  if (!_place.terminal && !_place.wanted) return;
  double const now = _place.clock();
  bool const last = done == of;
  double const every = _place.terminal ? kOnTerminal : kElsewhere;
  if (!_place.wanted && now - _begun < kPatience) return;
  if (now - _last < every && !(last && _place.wanted)) return;
  _last = now;
  std::uint64_t const percent = of == 0 ? 100 : done * 100 / of;
  _err << (_place.terminal ? "\r\033[K" : "") << "oru-counters: " << _what << ": " << percent
       << " % of " << of << " slots" << (_place.terminal ? "" : "\n") << std::flush;
  _shown = true;
}

void Progress::end() {
  if (_shown && _place.terminal) _err << "\r\033[K" << std::flush;
  _shown = false;
}

}  // namespace Show
