// Agents that are killed at any instruction, one after the other, over one kernel whose counters
// are reset and whose link is made again: in the end the published total is what was counted.

#include <gtest/gtest.h>
#include <linux/pkt_sched.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <new>
#include <random>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/linux/linux_counters_helper.h"
#include "platform/interface/counter_tables.h"
#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/support/temporary_folder.h"

namespace Hardware::Linux {
namespace {

/// The kernel, in memory that its agents share. Every change is one store, so that a kill never
/// leaves half of one.
class SharedKernel {
 public:
  std::uint64_t ever() const { return _ever.load(); }
  std::uint64_t count() const { return ever() - startedAt(); }
  int ifindex() const { return static_cast<int>(_start.load() >> 48); }
  void pass(std::uint64_t packets) { _ever += packets; }
  void reset(bool anotherLink) {
    _start = static_cast<std::uint64_t>(ifindex() + (anotherLink ? 1 : 0)) << 48 | ever();
    ++_resets;
  }
  int resets() const { return _resets; }

 private:
  std::uint64_t startedAt() const { return _start.load() & ((std::uint64_t{1} << 48) - 1); }
  std::atomic<std::uint64_t> _ever = 0;
  std::atomic<std::uint64_t> _start = 0;  // the link's number, and what it had counted ever by then
  std::atomic<int> _resets = 0;
};

class SharedLinks final : public LinkStatsSource {
 public:
  explicit SharedLinks(SharedKernel const& kernel) : _kernel(kernel) {}
  std::error_code refresh(double) override {
    _stats.rx_packets = _kernel.count();
    return {};
  }
  rtnl_link_stats64 const* find(int) const override { return &_stats; }

 private:
  SharedKernel const& _kernel;
  rtnl_link_stats64 _stats{};
};

/// An mq of two queues, of which one counts all that passes.
class SharedQdiscs final : public QdiscSource {
 public:
  explicit SharedQdiscs(SharedKernel const& kernel) : _kernel(kernel) {}
  std::error_code refresh(double) override {
    _qdiscs[1].counts = {_kernel.count(), 100 * _kernel.count(),
                         static_cast<std::uint32_t>(_kernel.count())};
    return {};
  }
  std::span<Qdisc const> find(int) const override { return _qdiscs; }

 private:
  SharedKernel const& _kernel;
  std::array<Qdisc, 3> _qdiscs{Qdisc{0x10000, TC_H_ROOT, QdiscKind::queues, 1, QdiscCounts{}},
                               Qdisc{0, 0x10001, QdiscKind::other, 2, QdiscCounts{}},
                               Qdisc{0, 0x10002, QdiscKind::other, 2, QdiscCounts{}}};
};

class RestartTorture : public ::testing::Test {
 protected:
  void SetUp() override {
    void* memory = mmap(nullptr, sizeof(SharedKernel), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    kernel = new (memory) SharedKernel;
  }
  void TearDown() override {
    if (kernel) munmap(kernel, sizeof *kernel);
  }

  template <class Table>
  Kel::Ptr<Table> open(std::string const& name) {
    return Kel::make<Table>(debug, Glim::RootPath(debug, folder.text(name), false),
                            Glim::TableLimits{.maxRows = 16});
  }

  /// Polls as often as told, or for ever, and lets packets pass and counters be reset meanwhile.
  void runAgent(unsigned seed, int polls) {
    auto const rows = open<Interface::AllEthIntfCounterGlim>("rows");
    LinuxCountersHelper::Parts parts = Linux::Test::standInParts();
    parts.links = std::make_unique<SharedLinks>(*kernel);
    parts.qdiscs = std::make_unique<SharedQdiscs>(*kernel);
    parts.offsets = std::make_unique<GlimOffsetStore>(open<GlimOffsetStore::Table>("offsets"));
    parts.publishedRow =
        [&](Pekt::IntfId const& id) -> std::optional<Interface::EthIntfCounterGlim> {
      if (!rows->contains(id)) return std::nullopt;
      return rows->counter(id);
    };
    auto const queueRows = open<Interface::QueueCounter::AllIntfQueueCounters>("queueRows");
    parts.queueOffsets =
        std::make_unique<GlimQueueOffsetStore>(open<GlimQueueOffsetStore::Table>("queueOffsets"));
    parts.publishedQueues =
        [&](Pekt::IntfId const& id) -> std::optional<Interface::QueueCounter::IntfQueueCounter> {
      if (!queueRows->contains(id)) return std::nullopt;
      return queueRows->lookup(id);
    };
    parts.now = [] { return 1.0; };
    parts.generation = 1;
    auto const helper = Kel::make<LinuxCountersHelper>("linux", std::move(parts));
    helper->hwInit();
    helper->initialize(kPort);

    std::mt19937 random(seed);
    Interface::IntfStatistics previous;
    for (int poll = 0; poll != polls; ++poll) {
      kernel->pass(random() % 100);
      helper->linkIs(kPort, {.ifindex = kernel->ifindex()});
      auto const sample = Kel::make<OruTypes::IntfCounters>();
      helper->getCounters(kPort, sample, sample);
      auto row = rows->counter(kPort);
      row.statistics = row.statistics + (sample->intfStats() - previous);
      previous = sample->intfStats();
      rows->counterIs(row);
      pollQueues(*helper, *queueRows);
      // What passed since the last poll is lost with a reset, so only now. A reset of the same link
      // shows by a count well below the old one.
      bool const anotherLink = random() % 2 != 0;
      if (random() % 8 == 0 && (anotherLink || kernel->count() > 1000)) kernel->reset(anotherLink);
    }
  }

  void pollQueues(LinuxCountersHelper& helper,
                  Interface::QueueCounter::AllIntfQueueCounters& rows) {
    auto const sample = Kel::make<OruTypes::IntfQueueCounters>();
    helper.getIntfQueueCounters(kPort, sample);
    Interface::QueueCounter::IntfQueueCounter row;
    row.intfId = kPort;
    row.intfCounts = sample->intfCounts().value();
    row.statistics[QueueIndex(0)].counts = sample->queueCounts(QueueIndex(0));
    row.statistics.sizeIs(2);
    rows.intfQueueCounterIs(row);
  }

  using QueueIndex = Interface::QueueCounter::QueueIndex;
  Pekt::IntfId const kPort{"Ethernet2"};
  Dov::Platform::DebugHandler debug{0};
  Support::TemporaryFolder folder;
  SharedKernel* kernel = nullptr;
};

TEST_F(RestartTorture, KilledAgentsNeitherDoubleNorLose) {
  std::mt19937 random(11);
  for (unsigned agent = 0; agent < 400; ++agent) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      close(ready[0]);
      close(ready[1]);  // the parent wakes
      runAgent(agent, -1);
      _exit(0);
    }
    close(ready[1]);
    char none = 0;
    ASSERT_EQ(read(ready[0], &none, 1), 0);
    close(ready[0]);
    // At any instruction: of its start, which takes the tables over, or of some later poll.
    if (agent % 2 == 0) {
      for (auto left = random() % 1'000'000; left > 0; --left) asm volatile("");
    } else {
      auto const enough = kernel->ever() + random() % 20'000;
      while (kernel->ever() < enough) sched_yield();
    }
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
  }
  int const resets = kernel->resets();
  runAgent(4711, 1);
  auto const rows = open<Interface::AllEthIntfCounterGlim>("rows");
  EXPECT_EQ(rows->counter(kPort).statistics.inUcastPkts, kernel->ever());
  auto const queues =
      open<Interface::QueueCounter::AllIntfQueueCounters>("queueRows")->lookup(kPort);
  Interface::QueueCounter::QueueCounts const all{kernel->ever(), 100 * kernel->ever(),
                                                 kernel->ever(), 0};
  EXPECT_EQ(queues.statistics[QueueIndex(0)].counts, all);
  EXPECT_EQ(queues.intfCounts, all);
  EXPECT_GT(resets, 400);  // or the agents were killed before they did anything
}

}  // namespace
}  // namespace Hardware::Linux
