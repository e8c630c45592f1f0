#include "platform/glim/root_path.h"

#include <gtest/gtest.h>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

class GlimRootPath : public GlimTest::TableTest {};

TEST_F(GlimRootPath, IsADirectoryAndAName) {
  RootPath const sut(debug, "/dev/shm/oru-counters/intfCounters/", true);
  EXPECT_EQ(sut.path(), "/dev/shm/oru-counters/intfCounters");
  EXPECT_EQ(sut.directory(), "/dev/shm/oru-counters");
  EXPECT_EQ(sut.glimName(), "intfCounters");
  EXPECT_TRUE(sut.makeDirectory());
  EXPECT_EQ(&sut.debugHandler(), &debug);
  EXPECT_EQ(RootPath(debug, "name", false).directory(), ".");
  EXPECT_EQ(RootPath(debug, "/name", false).directory(), "/");
}

TEST_F(GlimRootPath, PrefixesTellTablesFromPlainSharedMemory) {
  EXPECT_EQ(RootPath(debug, "/a/b", false).socknamePrefix(), "glim");
  EXPECT_EQ(Mem::RootPath(debug, "/a/b", false).socknamePrefix(), "shmem");
  Mem::RootPath const& base = root();
  EXPECT_EQ(base.socknamePrefix(), "glim");
}

}  // namespace
}  // namespace Glim
