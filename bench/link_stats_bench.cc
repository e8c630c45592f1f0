// What reading the counters of 1,000 links costs: one dump of the kernel's statistics, beside the
// two other places that hold the same counts. In namespaces of its own; needs CAP_SYS_ADMIN.
//
//   link_stats_bench

#include <benchmark/benchmark.h>
#include <net/if.h>
#include <sched.h>
#include <sys/mount.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/linux_counters_helper.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

constexpr int kLinks = 1000;

struct Links {
  std::vector<std::string> names;
  std::vector<int> indexes;
};
Links links;

bool makeLinks() {
  NetlinkSocket socket(NETLINK_ROUTE);
  for (int i = 0; i < kLinks / 2; ++i) {
    std::array const pair{"v" + std::to_string(i), "w" + std::to_string(i)};
    if (auto const error = Test::makeVethPair(socket, pair[0], pair[1])) {
      std::fprintf(stderr, "cannot make links: %s\n", error.message().c_str());
      return false;
    }
    for (auto const& name : pair) {
      links.names.push_back(name);
      links.indexes.push_back(static_cast<int>(if_nametoindex(name.c_str())));
    }
  }
  return true;
}

// /sys shows the links of the namespace in which it was mounted.
bool enterNamespaces() {
  if (unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 &&
      mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
      mount("sysfs", "/sys", "sysfs", 0, nullptr) == 0)
    return true;
  std::fprintf(stderr, "no namespaces of its own: %s\n", std::strerror(errno));
  return false;
}

void perLink(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kLinks);
  state.counters["per_link"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kLinks,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void oneStatsDump(benchmark::State& state) {
  LinkStats stats;
  double tick = 0.0;
  for (auto _ : state) {
    tick += 1.0;
    if (stats.refresh(tick)) state.SkipWithError("the dump failed");
    std::uint64_t sum = 0;
    for (int ifindex : links.indexes) sum += stats.find(ifindex)->rx_packets;
    benchmark::DoNotOptimize(sum);
  }
  perLink(state);
}
BENCHMARK(oneStatsDump)->Unit(benchmark::kMicrosecond);

// All of what a port poller asks of the chip: dump, mapping and totals.
void helpersCounters(benchmark::State& state) {
  double tick = 0.0;
  auto const helper = Kel::make<LinuxCountersHelper>(
      "linux", LinuxCountersHelper::kernelParts(
                   {.offsets = std::make_unique<MemoryOffsetStore>(),
                    .publishedRow = [](auto const&) { return std::nullopt; },
                    .queueOffsets = std::make_unique<MemoryQueueOffsetStore>(),
                    .publishedQueues = [](auto const&) { return std::nullopt; },
                    .publishedDrops = [](auto const&) { return std::uint64_t{0}; },
                    .now = [&] { return tick; },
                    .aclDrops = {},
                    .say = [](auto const&) {},
                    .queueClearing = {}}));
  std::vector<Pekt::IntfId> ports;
  for (int ifindex : links.indexes) {
    ports.emplace_back("Ethernet" + std::to_string(ifindex));
    helper->linkIs(ports.back(), {.ifindex = ifindex, .kind = "veth", .txQueues = 1});
    helper->initialize(ports.back());
  }
  auto const sample = Kel::make<OruTypes::IntfCounters>();
  for (auto _ : state) {
    tick += 1.0;
    for (auto const& port : ports) helper->getCounters(port, sample, sample);
  }
  perLink(state);
}
BENCHMARK(helpersCounters)->Unit(benchmark::kMicrosecond);

void procNetDev(benchmark::State& state) {
  std::vector<char> text(1 << 20);
  for (auto _ : state) {
    std::FILE* file = std::fopen("/proc/self/net/dev", "r");
    if (!file) return state.SkipWithError("no /proc/self/net/dev");
    std::size_t const bytes = std::fread(text.data(), 1, text.size(), file);
    std::fclose(file);
    // Reading alone, without taking the text apart.
    benchmark::DoNotOptimize(bytes);
  }
  perLink(state);
}
BENCHMARK(procNetDev)->Unit(benchmark::kMicrosecond);

void sysClassNet(benchmark::State& state) {
  std::vector<std::string> files;
  for (auto const& name : links.names)
    for (auto const& entry :
         std::filesystem::directory_iterator("/sys/class/net/" + name + "/statistics"))
      files.push_back(entry.path());
  for (auto _ : state) {
    std::uint64_t sum = 0;
    for (auto const& path : files) {
      std::FILE* file = std::fopen(path.c_str(), "r");
      unsigned long long count = 0;
      if (!file || std::fscanf(file, "%llu", &count) != 1) state.SkipWithError("cannot read");
      if (file) std::fclose(file);
      sum += count;
    }
    benchmark::DoNotOptimize(sum);
  }
  perLink(state);
  state.counters["files"] = static_cast<double>(files.size());
}
BENCHMARK(sysClassNet)->Unit(benchmark::kMicrosecond);

}  // namespace

bool prepareBenchmark() { return enterNamespaces() && makeLinks(); }

}  // namespace Hardware::Linux

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (!Hardware::Linux::prepareBenchmark()) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
