#include "platform/glim/answer.h"

namespace Glim {

std::string_view text(Answer answer) {
  switch (answer) {
    case Answer::ok:
      return "ok";
    case Answer::absent:
      return "absent";
    case Answer::busy:
      return "busy";
    case Answer::corrupt:
      return "corrupt";
    case Answer::retired:
      return "retired";
    case Answer::missing:
      return "missing";
    case Answer::unreadable:
      return "unreadable";
    case Answer::unsafe:
      return "unsafe file";
    case Answer::notATable:
      return "not a table";
    case Answer::otherLayout:
      return "other layout version";
    case Answer::otherSchema:
      return "other schema";
    case Answer::truncated:
      return "truncated";
  }
  return "";
}

}  // namespace Glim
