// The calls that a test saw, in order; compared as one sequence.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace Support {

class CallLog {
 public:
  // log("handleIntf", id) records "handleIntf Ethernet1".
  template <class... Parts>
  void operator()(std::string const& call, Parts const&... parts) {
    std::ostringstream text;
    text << call;
    ((text << ' ' << parts), ...);
    _calls.push_back(text.str());
  }

  std::vector<std::string> const& calls() const { return _calls; }
  void clear() { _calls.clear(); }
  std::size_t count(std::string const& call) const;

 private:
  std::vector<std::string> _calls;
};

using Calls = std::vector<std::string>;

}  // namespace Support
