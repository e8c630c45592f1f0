// Takes every sequence of choices that a program may make, one run after the other, depth first:
//
//   Choices choices;
//   do {
//     program(choices);  // asks choices.below(n) wherever it has n possibilities
//   } while (choices.next());
//
// The program must be the same function of its choices at every run. It may leave a run early.
#pragma once

#include <cstddef>
#include <vector>

namespace GlimModel {

class Choices {
 public:
  // REQUIRES: options > 0
  std::size_t below(std::size_t options) {
    if (_depth == _path.size()) _path.push_back({0, options});
    return _path[_depth++].taken;
  }
  // Whether the next choice is one that an earlier run made as well.
  bool repeating() const { return _depth < _path.size(); }

  // Goes on to the next sequence; false when there is none.
  bool next() {
    _path.resize(_depth);
    while (!_path.empty() && _path.back().taken + 1 == _path.back().options) _path.pop_back();
    _depth = 0;
    if (_path.empty()) return false;
    ++_path.back().taken;
    return true;
  }

 private:
  struct Choice {
    std::size_t taken;
    std::size_t options;
  };
  std::vector<Choice> _path;
  std::size_t _depth = 0;
};

}  // namespace GlimModel
