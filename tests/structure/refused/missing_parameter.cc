// A constructor parameter that the description does not list must not compile.
#include "platform/kel/hash_map.h"

namespace {

class Machine : public Kel::StateMachine<Machine, Kel::ReactorOwner> {
 public:
#ifdef ORU_WELL_FORMED
  explicit Machine(int period) : _period(period) {}
#else
  Machine(int period, int) : _period(period) {}
#endif
  static constexpr auto kelDescription() {
    return Kel::describe("Machine", Kel::parameter("period", &Machine::_period));
  }
  static Kel::TypeNode const _kelType;

 private:
  int _period;
};
constinit Kel::TypeNode const Machine::_kelType = Kel::typeNode<Machine>();

}  // namespace

int main() {
#ifdef ORU_WELL_FORMED
  return Kel::instance<Machine>(1) ? 0 : 1;
#else
  return Kel::instance<Machine>(1, 2) ? 0 : 1;
#endif
}
