// No file, however damaged, takes a process down or has a wrong row accepted. Files are made at
// random from fixed seeds, so that one that breaks a promise is made again by its number.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "tests/platform/glim/hostile/base_table.h"
#include "tests/platform/glim/hostile/drill.h"
#include "tests/platform/glim/hostile/mutations.h"
#include "tests/platform/glim/table_fixture.h"

namespace GlimTest {
namespace {

constexpr std::uint32_t rows = 16;

class HostileFile : public TableTest {
 protected:
  // Makes `files` files from tables of this record, each with the given change, and has each gone
  // through by readers and a writer.
  template <class Record, class Today = Record>
  void drill(unsigned files, std::uint64_t seed, bool forged,
             std::function<char const*(TableImage&, std::string const&, Random&)> change) {
    auto const base = makeBaseTable<Record>(root("base"), rows);
    ASSERT_TRUE(base.has_value());
    for (unsigned i = 0; i < files; ++i) {
      Random random(seed * 1'000'000 + i);
      TableImage image = random() % 3 == 0 ? base->detached : base->killed;
      char const* const name = change(image, base->earlier.bytes, random);
      writeFile(file(), image.bytes);
      // A third is taken over with a greater limit, or with a smaller one.
      std::uint32_t const limit = random() % 3 != 0 ? rows : random() % 2 == 0 ? 2 * rows : 5;
      std::string const broken =
          Drill<Record, Today>(root(), forged ? nullptr : &base->published, counts)
              .run(image.bytes, {.maxRows = limit});
      ASSERT_EQ(broken, "") << "file " << i << " of seed " << seed << ": " << name;
      ++of[name];
      for (auto const& left : std::filesystem::directory_iterator(directory)) {
        if (left.path().filename().string().starts_with("table.")) {
          std::filesystem::remove(left.path());
        }
      }
    }
  }

  DrillCounts counts;
  std::map<std::string, unsigned> of;
};

char const* nothing(TableImage&, std::string const&, Random&) { return "nothing"; }

char const* damageOnce(TableImage& image, std::string const& earlier, Random& random) {
  return damage(image, earlier, random);
}

char const* damageTwice(TableImage& image, std::string const& earlier, Random& random) {
  damage(image, earlier, random);
  return damage(image, earlier, random);
}

char const* forgeOnce(TableImage& image, std::string const&, Random& random) {
  return forge(image, random);
}

char const* forgeAndDamage(TableImage& image, std::string const& earlier, Random& random) {
  char const* const name = forge(image, random);
  damage(image, earlier, random);
  return name;
}

// What the others are measured by: of a file that nothing happened to, every row is accepted.
TEST_F(HostileFile, UndamagedIsAccepted) {
  drill<Small>(20, 1, false, nothing);
  EXPECT_EQ(counts.attached, 20u);
  EXPECT_EQ(counts.rows, 20u * baseRows);
  EXPECT_EQ(counts.corrupt, 0u);
  EXPECT_EQ(counts.givenUp, 0u);
}

TEST_F(HostileFile, DamagedHasNoWrongRowAccepted) {
  drill<Small>(4000, 2, false, damageOnce);
  drill<Middle>(4000, 3, false, damageOnce);
  drill<Colliding>(2000, 4, false, damageOnce);
  EXPECT_EQ(of.size(), 12u) << "every kind of damage was done";
  // Most damage leaves most rows, or nothing here was tested.
  EXPECT_GT(counts.attached, 5000u);
  EXPECT_GT(counts.adopted, 5000u);
  EXPECT_GT(counts.moved, 500u);
  EXPECT_GT(counts.setAside, 500u);
  EXPECT_GT(counts.rows, 5000u * 8);
  EXPECT_GT(counts.corrupt, 1000u);
  EXPECT_GT(counts.givenUp, 1000u);
}

TEST_F(HostileFile, DamagedHasNoWrongRowCarriedOverFromAnOlderSchema) {
  drill<Small, LaterSmall>(2000, 11, false, damageOnce);
  EXPECT_GT(counts.migrated, 1000u);
  EXPECT_GT(counts.givenUp, 200u);
}

TEST_F(HostileFile, DamagedTwiceHasNoWrongRowAccepted) {
  drill<Small>(2000, 5, false, damageTwice);
  drill<Middle>(2000, 6, false, damageTwice);
  EXPECT_GT(counts.attached, 1000u);
}

TEST_F(HostileFile, ForgedTakesNobodyDown) {
  drill<Small>(2000, 7, true, forgeOnce);
  drill<Middle>(2000, 8, true, forgeOnce);
  EXPECT_EQ(of.size(), 4u);
  EXPECT_GT(counts.attached, 500u);
}

TEST_F(HostileFile, ForgedInAnOlderSchemaTakesNobodyDown) {
  drill<Small, LaterSmall>(2000, 12, true, forgeOnce);
  EXPECT_GT(counts.migrated, 500u);
}

TEST_F(HostileFile, ForgedAndDamagedTakesNobodyDown) {
  drill<Small>(1000, 9, true, forgeAndDamage);
  drill<Colliding>(1000, 10, true, forgeAndDamage);
  EXPECT_GT(counts.attached, 100u);
}

}  // namespace
}  // namespace GlimTest
