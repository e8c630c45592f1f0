#include "tester/unit.h"

#include "platform/kel/assertion.h"

namespace Oru::Counters::Tester {
namespace {

constexpr char kUnit[] = "OruIntfQueueTester";

}  // namespace

void requirementFailed(char const* expression, Line line, std::source_location here) {
  Kel::assertionFailed(expression, kUnit, static_cast<unsigned>(line), here.function_name());
}

void requirementFailed(char const* expression, std::source_location here) {
  Kel::assertionFailed(expression, kUnit, here.line(), here.function_name());
}

}  // namespace Oru::Counters::Tester
