// Classes of control-plane policing over the kernel's counters, in memory.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "hardware/linux/copp_classes.h"
#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/support/temporary_tables.h"

namespace Hardware::Linux {

class CoppClassesTest : public ::testing::Test {
 protected:
  CoppClassesTest() {
    kernel.table.table.handle = 40;
    startAgent();
  }
  // Over the same tables and the same kernel.
  void startAgent(bool keeps = false) {
    sut.emplace(
        CoppClasses::Parts{rows, offsets, "copp-system-policy", keeps, [this] { return steady; }},
        kernel, generation, [this] { return now; },
        [this](std::string const& text) { said.push_back(text); });
  }
  NftCounter& counter(std::string const& name) {
    auto& all = kernel.table.table.counters;
    for (NftCounter& each : all)
      if (each.name == name) return each;
    all.push_back({.name = name, .handle = 7 + all.size()});
    return all.back();
  }
  void removeCounter(std::string const& name) {
    std::erase_if(kernel.table.table.counters,
                  [&](NftCounter const& each) { return each.name == name; });
  }
  void fails(std::errc error) {
    kernel.table = {.table = {}, .error = std::make_error_code(error)};
  }
  void poll(Kel::Seconds later = 2.0) {
    now += later;
    steady += later;
    sut->refresh();
  }
  Qos::CoppClassCounter row(char const* name) { return rows->lookup(name); }
  std::vector<std::string> classes() {
    std::vector<std::string> names;
    for (auto const& name : sut->classes().value_or(CoppClasses::Names()))
      names.emplace_back(name.view());
    return names;
  }

  double now = 1000.0, steady = 20.0;
  std::uint64_t generation = 1;
  Support::TemporaryTables tables;
  Kel::Ptr<CoppRows::Table> rows = tables.table<CoppRows::Table>("coppCounters");
  Kel::Ptr<CoppOffsetTable> offsets = tables.table<CoppOffsetTable>("coppOffsets");
  Linux::Test::FakeNftCounters kernel;
  std::vector<std::string> said;
  std::optional<CoppClasses> sut;
};

}  // namespace Hardware::Linux
