// Walks over keyed collections that survive any change of the collection.
#pragma once

#include <optional>
#include <utility>

namespace Kel {

// A walk over an ordered map that remembers its place by key, not by node:
//
//   for (auto const& [id, served] : Kel::walk(ocsd->intf())) handleIntf(id);
//
// It holds a copy of the current member; the next one is the first whose key
// follows, whatever was added or removed in between. The map itself must
// outlive the walk.
template <class Map>
class Walk {
 public:
  using Member = std::pair<typename Map::key_type, typename Map::mapped_type>;

  class Step {
   public:
    explicit Step(Map const* map) : _map(map) { at(map->begin()); }
    Step() = default;  // the end

    Member const& operator*() const { return *_current; }
    Step& operator++() {
      at(_map->upper_bound(_current->first));
      return *this;
    }
    bool operator==(Step const& end) const {
      return _current.has_value() == end._current.has_value();
    }

   private:
    void at(typename Map::const_iterator it) {
      if (it == _map->end())
        _current.reset();
      else
        _current.emplace(it->first, it->second);
    }

    Map const* _map = nullptr;
    std::optional<Member> _current;
  };

  explicit Walk(Map const& map) : _map(&map) {}
  Step begin() const { return Step(_map); }
  Step end() const { return Step(); }

 private:
  Map const* _map;
};

template <class Map>
Walk<Map> walk(Map const& map) {
  return Walk<Map>(map);
}

}  // namespace Kel
