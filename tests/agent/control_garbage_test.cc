// A whole agent under clients that send it garbage.
#include <fstream>
#include <list>
#include <random>

#include "counters/pollers/port_counters_sm.h"
#include "tests/agent/control_host_fixture.h"
#include "tests/support/open_descriptors.h"

namespace Agent {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool kFreedMemoryIsKept = true;
#else
constexpr bool kFreedMemoryIsKept = false;
#endif

std::size_t residentBytes() {
  std::size_t size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * 4096;
}

class Garbage {
 public:
  explicit Garbage(std::uint32_t seed) : _random(seed) {}

  std::size_t below(std::size_t n) { return _random() % n; }
  // A line, or a part of one, that is hardly ever a good one.
  std::string next() {
    switch (below(8)) {
      case 0:
        return bytes(below(200));
      case 1:
        return std::string(70'000, "x[{\" "[below(5)]);
      case 2:
        return good().substr(0, below(60));  // half a line
      case 3:
        return good() + "\n";
      default:
        return mutated() + "\n";
    }
  }

 private:
  std::string bytes(std::size_t n) {
    std::string all;
    while (all.size() < n) all += static_cast<char>(below(256));
    return all;
  }
  std::string good() {
    static std::vector<std::string> const all{
        R"({"op":"ls"})",
        R"({"op":"ls","path":"countersSm"})",
        R"({"op":"ls","path":"countersSm","attribute":"portCountersSm"})",
        R"({"op":"get","path":"countersSm/portCountersSm/Ethernet7","attribute":"initialized"})",
        R"({"op":"set","path":"countersSm","attribute":"counterPollPeriod","value":"1"})",
        R"({"op":"invoke","path":"countersSm","operation":"updateCounters","arguments":["1","Ethernet7"]})",
        R"({"op":"clear","names":["Ethernet1","Ethernet2"]})",
        R"({"op":"clear","all":true})"};
    return all[below(all.size())];
  }
  std::string mutated() {
    std::string line = good();
    for (std::size_t i = 0; i <= below(4); ++i) {
      std::size_t const at = below(line.size() + 1);
      switch (below(4)) {
        case 0:
          line.insert(at, bytes(1 + below(4)));
          break;
        case 1:
          line.erase(at, 1 + below(6));
          break;
        case 2:
          line.insert(at, line.substr(below(line.size() + 1), below(30)));
          break;
        default:
          if (at < line.size()) line[at] = static_cast<char>(below(256));
      }
    }
    return line;
  }
  std::minstd_rand _random;
};

TEST_F(ControlHostTest, GarbageKeepsNoPortFromItsPollsAndLeavesNothingBehind) {
  constexpr int kPorts = 1000, kRequests = 10'000, kStepsPerPeriod = 8;
  options.ports = kPorts;
  start();
  turn();
  Glim::Reader<Row> rows(options.tables + "/" + std::string(Interface::kIntfCounters));
  ASSERT_EQ(rows.attach(), Glim::Answer::ok);
  auto const pollers = Kel::AllocTrackTypeInfo::live(Oru::Counters::PortCountersSm::_kelType);
  EXPECT_EQ(pollers.objects, std::size_t{kPorts});
  std::size_t const descriptorsBefore = Support::openDescriptors();

  testing::internal::CaptureStderr();
  Garbage garbage(20261121);
  std::list<TestClient> clients;
  std::size_t residentBefore = 0, answers = 0, missed = 0, periods = 0;
  for (int sent = 0, step = 1; sent < kRequests || step % kStepsPerPeriod != 1; ++step) {
    for (int i = 0; i < 20; ++i, ++sent) {
      if (clients.size() < 8 || garbage.below(3) == 0) clients.emplace_back(options.tables);
      auto client =
          std::next(clients.begin(), static_cast<std::ptrdiff_t>(garbage.below(clients.size())));
      client->send(garbage.next());
      if (garbage.below(10) == 0) client->endSending();
      if (garbage.below(4) == 0) {
        auto const received = client->received();
        answers += static_cast<std::size_t>(std::count(received.begin(), received.end(), '\n'));
      }
      if (clients.size() > 16 || garbage.below(5) == 0) clients.erase(client);
    }
    pass(1.0 / kStepsPerPeriod);
    if (step % kStepsPerPeriod != 0) continue;
    ++periods;
    for (int port = 1; port <= kPorts; ++port) {
      Row row;
      bool const polled =
          rows.lookup(Pekt::IntfId("Ethernet" + std::to_string(port)), row) == Glim::Answer::ok &&
          row.statistics.lastUpdate == time.now();
      if (!polled) ++missed;
    }
    if (periods == 10) residentBefore = residentBytes();
  }
  clients.clear();
  turn(100);
  testing::internal::GetCapturedStderr();
  RecordProperty("answers", static_cast<int>(answers));
  EXPECT_GT(answers, 500u);
  EXPECT_EQ(missed, 0u) << "of " << periods * kPorts;
  EXPECT_EQ(Support::openDescriptors(), descriptorsBefore);
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::PortCountersSm::_kelType).objects,
            pollers.objects);
  if (!kFreedMemoryIsKept) {
    EXPECT_LT(residentBytes(), residentBefore + 32 * 1024 * 1024);
  }
  EXPECT_EQ(ask({{"op", "ls"}})["ok"], true);
}

}  // namespace
}  // namespace Agent
