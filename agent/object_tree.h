// The objects that can be reached by name, through what their descriptions declare:
//
//   countersSm                              a root
//   countersSm/portCountersSm               a collection of it
//   countersSm/portCountersSm/Ethernet1/1   the member under the key Ethernet1/1
//
// Keys may hold slashes. The longest key that there is counts; where what follows it does not lead
// on, shorter ones are tried.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kel/ptr_interface.h"

namespace Agent {

class ObjectTree {
 public:
  static constexpr std::size_t kMaxPath = 1024;  // bytes
  static constexpr int kMaxSlashes = 16;         // in a path: each may end a key, and is tried

  void rootIs(std::string const& name, Kel::Ptr<Kel::PtrInterface> const& object) {
    _roots[name] = object;
  }
  std::vector<std::string> roots() const;

  // An object, and perhaps one of its collections.
  struct Place {
    Kel::Ptr<Kel::PtrInterface> object;
    std::string collection;
  };
  // Throws ControlError.
  Place find(std::string const& path) const;
  // The same where only an object will do.
  Kel::Ptr<Kel::PtrInterface> object(std::string const& path) const;

 private:
  std::map<std::string, Kel::Ptr<Kel::PtrInterface>, std::less<>> _roots;
};

}  // namespace Agent
