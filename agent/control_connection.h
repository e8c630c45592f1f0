// One client of the control socket: what it sent and was not answered yet, and what it has yet to
// take. Holds one line and one answer at the most, and takes nothing in while either is there; so a
// client that sends faster than it reads waits, and the agent does not.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/glim/file_descriptor.h"
#include "platform/kel/system.h"

namespace Agent {

class ControlConnection {
 public:
  static constexpr std::size_t kMaxLine = 64 * 1024;  // bytes, its end included
  static constexpr std::size_t kReadAtOnce = 16 * 1024;
  // A client that neither finishes a request nor takes an answer for so long is dropped.
  static constexpr Kel::Seconds kPatience = 30.0;

  // `user`: whose process is at the other end, where that is known.
  ControlConnection(Glim::FileDescriptor fd, std::optional<uid_t> user, bool mayWrite,
                    Kel::Seconds now);

  int fd() const { return _fd.get(); }
  std::optional<uid_t> user() const { return _user; }
  bool mayWrite() const { return _mayWrite; }

  // The descriptor is readable, or writable. Do nothing where it was not.
  void read();
  void write(Kel::Seconds now);

  // Whether a line waits for an answer; one that came too long does.
  bool hasLine() const { return !over() && _out.empty() && (_lineEnd || tooLong() || lastLine()); }
  // Takes it. Nothing: it came too long, which is the last that was heard of this client.
  // REQUIRES: hasLine().
  std::optional<std::string> takeLine();
  void answer(std::string line, Kel::Seconds now);
  // The last answer: no further line is taken.
  void lastAnswer(std::string const& line, Kel::Seconds now);

  bool wantsToRead() const { return !over() && !_ended && _out.empty() && !hasLine(); }
  bool wantsToWrite() const { return !over() && !_out.empty(); }
  // There is nothing more to come of it.
  bool over() const {
    return _broken || ((_ended || _last) && _out.empty() && (_last || _in.empty()));
  }
  Kel::Seconds deadline() const { return _since + kPatience; }

 private:
  bool tooLong() const { return !_lineEnd && _in.size() >= kMaxLine; }
  // A client that ends its side ends its last line with it.
  bool lastLine() const { return _ended && !_last && !_in.empty(); }
  void findLine(std::size_t from);

  Glim::FileDescriptor const _fd;
  std::optional<uid_t> const _user;
  bool const _mayWrite;
  std::string _in;
  std::optional<std::size_t> _lineEnd;  // of the first line in it
  std::string _out;
  std::size_t _sent = 0;  // of _out
  Kel::Seconds _since;
  bool _ended = false;   // the client sends no more
  bool _last = false;    // nothing is taken in any more
  bool _broken = false;  // it takes nothing any more
};

}  // namespace Agent
