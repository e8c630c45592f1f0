// What the shared-memory tables cost, beside bare memory and beside what else could hold the rows.
//
//   table_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only
//   table_bench --benchmark_filter=bytes:1024/rows:1024
#include "bench/table_bench.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  if (!Bench::twoCores()) {
    benchmark::AddCustomContext("two processes at once", "left out: one core");
  }
  Bench::registerBareSlots();
  Bench::registerTableWriter();
  Bench::registerTableReader();
#ifdef ORU_BENCH_BOOST
  Bench::registerBoostMap();
#else
  benchmark::AddCustomContext("boost", "left out: built without libboost-dev");
#endif
#ifdef ORU_BENCH_REDIS
  if (!Bench::registerRedis()) {
    benchmark::AddCustomContext("redis", "left out: no redis-server in PATH");
  }
#else
  benchmark::AddCustomContext("redis", "left out: built without libhiredis-dev");
#endif
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
