// One table, its writers killed one after the other, and its readers.
#pragma once

#include <memory>

#include "tests/platform/glim/crash/crash_point.h"
#include "tests/platform/glim/crash/scenario.h"

namespace GlimCrash {

class Trial {
 public:
  Trial(Scenario const& scenario, Place const& place);

  // Kills the scenario's writer at this step.
  End killWriter(std::uint64_t at);
  // Kills the next one at a step of its taking the table.
  End killNextWriter(std::uint64_t at);
  // Readers, old and new, see one of the scenario's states, and none that is older than what was
  // seen before.
  void inspect();
  // The next writer keeps what readers saw, works on, and readers follow.
  void recover();

  // What was not as it must be; empty when all was.
  std::string const& trouble() const { return _trouble; }
  // Which state it was that was seen last.
  std::size_t state() const { return _least; }
  // Whether a new reader was told that the file under the name is retired.
  bool retired() const { return _retired; }

 private:
  struct Attached {
    std::unique_ptr<Glim::TableReader> reader;
    ino_t inode = 0;
    Glim::Answer answer = Glim::Answer::ok;
    // The file was retired and still had the name: the reader asks for its successor.
    bool standsIn = false;
  };

  using Open = std::function<WriterPtr(Place const&)>;

  End killWhileTaking(std::uint64_t at, Open const& open);
  Attached attach();
  void follow(Attached& attached, Glim::Answer answer);
  void check(View const& view, std::string const& who);
  void expectOf(Glim::TableReader const& reader, Glim::Answer answer, Rows const& rows,
                std::string const& who);
  void expectEverywhere(Rows const& rows);
  void workOn(Writer& writer, Rows rows);
  void checkVersions();
  void checkNames();
  void fail(std::string const& what) { _trouble += "  " + what + "\n"; }
  ino_t named() const;

  Scenario const& _scenario;
  Place const& _place;
  Open _openNext;
  std::set<std::uint64_t> _keys;
  std::vector<Attached> _stayers;  // attached once, and nothing more
  Attached _follower;              // refreshed each time
  ino_t _firstFile = 0;
  Versions _versions;
  std::size_t _least = 0;  // the state that was seen
  Glim::Word _epoch = 0;
  bool _retired = false;
  std::string _trouble;
};

// All steps, or all pairs of steps.
struct Enumeration {
  std::uint64_t steps = 0;
  std::uint64_t trials = 0;
  std::uint64_t retired = 0;
  std::vector<std::uint64_t> seen{};  // trials by the state that they left
  std::string trouble{};              // of the first few trials that had any
};
Enumeration killAtEachStep(Scenario const& scenario);
// The next writer too is killed, at each `stride`-th of its steps, beginning elsewhere for each
// step of the first one.
Enumeration killTwice(Scenario const& scenario, std::uint64_t stride);

}  // namespace GlimCrash
