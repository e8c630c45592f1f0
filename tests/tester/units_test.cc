// The two units, loaded by a program that knows nothing of them. Each test is for a process of its
// own, as ctest runs them: a unit may stay once it is loaded.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/kel/dir.h"
#include "platform/kel/type_node.h"

namespace {

using Names = std::vector<std::string>;

Names const kCounters{"VlanIntfCountersSm", "CountersCoppTypeSm",    "CountersDynamicCoppSm",
                      "CpuPortCountersSm",  "IntfAclDropCountersSm", "IntfQueueCountersSm",
                      "PortCountersSm",     "VlanCountersSm",        "CountersDynamicCoppTypeSm",
                      "CountersSm",         "CountersCoppSm"};
Names const kTester{"IntfQueueCountersHelper", "IntfQueueCounterTestWrapper"};

Names both() {
  Names all = kCounters;
  all.insert(all.end(), kTester.begin(), kTester.end());
  return all;
}

Names registered() {
  std::string const scope = "Oru::Counters::";
  Names names;
  for (auto const* type : Kel::typeNodes()) {
    EXPECT_TRUE(type->name().starts_with(scope)) << type->name();
    names.emplace_back(type->name().substr(scope.size()));
  }
  return names;
}

class Unit {
 public:
  explicit Unit(char const* file) : _handle(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (!_handle) ADD_FAILURE() << dlerror();
  }
  ~Unit() {
    if (_handle) dlclose(_handle);
  }
  Unit(Unit const&) = delete;
  Unit& operator=(Unit const&) = delete;

 private:
  void* const _handle;
};

TEST(Units, NothingIsRegisteredBeforeAUnitIsLoaded) { EXPECT_EQ(registered(), Names{}); }

TEST(Units, TheCountersRegisterTheirElevenTypesInOrder) {
  Unit const counters(ORU_COUNTERS_SM);
  EXPECT_EQ(registered(), kCounters);
}

TEST(Units, TheTesterRegistersItsTwoBehindThem) {
  Unit const counters(ORU_COUNTERS_SM);
  Unit const tester(ORU_INTF_QUEUE_TESTER);
  EXPECT_EQ(registered(), both());
}

TEST(Units, TheTesterAloneBringsTheCountersWithIt) {
  Unit const tester(ORU_INTF_QUEUE_TESTER);
  EXPECT_EQ(registered(), both());
}

TEST(Units, AHelperIsMadeByNameWithoutBeingLinked) {
  Unit const tester(ORU_INTF_QUEUE_TESTER);
  auto dir = Kel::make<Kel::Dir>("helpers");
  auto const helper = dir->newEntity("Oru::Counters::IntfQueueCountersHelper", "h");
  EXPECT_EQ(Kel::read(*helper, "numUnicastQueues"), "9");
}

}  // namespace
