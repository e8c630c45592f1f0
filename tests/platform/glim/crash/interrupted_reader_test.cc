// Readers that look while a writer works, dies, and the next one takes the table.
#include <gtest/gtest.h>

#include <iostream>

#include "tests/platform/glim/crash/held_up_reader.h"

namespace GlimCrash {
namespace {

class GlimInterruptedReader : public testing::TestWithParam<char const*> {};

TEST_P(GlimInterruptedReader, SeesNoDamageWhenAWriterDiesAndTheNextOneComesMeanwhile) {
  Scenario const sut = scenario(GetParam());
  Enumeration const all = holdReadersUp(sut);
  std::cout << sut.name << ": " << all.trials << " interrupted looks\n";
  EXPECT_EQ(all.trouble, "");
  EXPECT_GT(all.trials, 10 * sut.atLeast);
}

INSTANTIATE_TEST_SUITE_P(Each, GlimInterruptedReader,
                         testing::Values("OverwriteAgainAndAgain", "DirectWritesAfterAbandonedOnes",
                                         "DeleteAtTheHeadOfAChain", "InsertIntoAFreedSlot",
                                         "AdoptionOfHalfWrittenRows"),
                         [](auto const& name) { return name.param; });

}  // namespace
}  // namespace GlimCrash
