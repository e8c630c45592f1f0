// Registers the unit's types with the framework while the library is loaded.
#include "platform/kel/type_node.h"
#include "tester/intf_queue_counter_test_wrapper.h"
#include "tester/intf_queue_counters_helper.h"

namespace Oru::Counters {
namespace {

Kel::UnitTypes const types{&IntfQueueCountersHelper::_kelType,
                           &IntfQueueCounterTestWrapper::_kelType};

}  // namespace
}  // namespace Oru::Counters
