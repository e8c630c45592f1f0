// A parameter that a description lists behind something else must not compile:
// its place would not be the constructor's.
#include "platform/kel/hash_map.h"

namespace {

class Machine : public Kel::StateMachine<Machine, Kel::ReactorOwner> {
 public:
  explicit Machine(int period) : _period(period) {}
  int doubled() const { return 2 * _period; }

  static constexpr auto kelDescription() {
#ifdef ORU_WELL_FORMED
    return Kel::describe("Machine", Kel::parameter("period", &Machine::_period),
                         Kel::value("doubled", &Machine::doubled));
#else
    return Kel::describe("Machine", Kel::value("doubled", &Machine::doubled),
                         Kel::parameter("period", &Machine::_period));
#endif
  }
  static Kel::TypeNode const _kelType;

 private:
  int _period;
};
constinit Kel::TypeNode const Machine::_kelType = Kel::typeNode<Machine>();

}  // namespace

int main() { return Kel::instance<Machine>(1) ? 0 : 1; }
