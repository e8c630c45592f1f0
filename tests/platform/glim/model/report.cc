#include "tests/platform/glim/model/report.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace GlimModel {

namespace {

bool wanted() { return std::getenv("ORU_MODEL_REPORT") != nullptr; }

}  // namespace

void report(std::size_t runs, std::size_t states) {
  testing::Test::RecordProperty("runs", std::to_string(runs));
  testing::Test::RecordProperty("states", std::to_string(states));
  if (wanted()) std::cout << "  " << runs << " runs, " << states << " states\n";
}

void report(std::string const& trace) {
  if (wanted()) std::cout << trace;
}

}  // namespace GlimModel
