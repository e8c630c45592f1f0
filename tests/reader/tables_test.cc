// What the commands about tables have in common.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>

#include "platform/glim/header_copy.h"
#include "platform/glim/layout.h"
#include "tests/reader/tables_commands.h"

namespace Show {
namespace {

using testing::HasSubstr;

TEST_F(TablesCommands, WithoutTablesOrDirectoryEachSaysHowToStartTheAgent) {
  for (int i = 0; i < 2; ++i) {
    std::string const text = "oru-counters: there are no tables in " + options.directory +
                             "; start the agent with: oru-agentd --tables " + options.directory +
                             "\n";
    EXPECT_EQ(list(), ExitCode::tableMissing);
    EXPECT_EQ(err.str(), text);
    EXPECT_EQ(verify(), ExitCode::tableMissing);
    EXPECT_EQ(err.str(), text);
    EXPECT_EQ(dump("intfCounters"), ExitCode::tableMissing);
    EXPECT_EQ(err.str(), text);
    options.directory += "/nowhere";
  }
}

// A schema of types that came later: the header is sound, and no row can be shown.
TEST_F(TablesCommands, DumpSaysThatASchemaIsNotUnderstood) {
  startWithTwo();
  tables.stop();
  std::string const file = tables.file("intfCounters");
  int const fd = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  Glim::HeaderCopy header;
  ASSERT_EQ(Glim::readHeader(fd, header), Glim::Answer::ok);
  auto const at = header.schema.find(":f64:");
  header.schema[at + 1] = 'g';
  auto const fixed = Glim::Layout::makeFixedWords(header.geometry, header.schema,
                                                  Glim::schemaHashOf(header.schema),
                                                  header.fixed[Glim::Layout::fixedCreated]);
  ASSERT_EQ(::pwrite(fd, fixed.data(), sizeof fixed, 0), static_cast<ssize_t>(sizeof fixed));
  ASSERT_EQ(::pwrite(fd, header.schema.data(), header.schema.size(), Glim::Layout::schemaOffset),
            static_cast<ssize_t>(header.schema.size()));
  ::close(fd);
  EXPECT_EQ(dump("intfCounters"), ExitCode::otherVersion);
  EXPECT_THAT(err.str(), HasSubstr("its schema text is not understood"));
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  EXPECT_THAT(out.str(), HasSubstr("the schema text is none of a row's fields"));
}

TEST_F(TablesCommands, OfADirectoryThatNobodyNamedOnlyTrustedTablesAreRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  startWithTwo();
  tables.stop();
  constexpr uid_t stranger = 54321;
  ASSERT_EQ(::chown(tables.file("intfCounters").c_str(), stranger, stranger), 0);
  ASSERT_EQ(::chown(tables.directory().c_str(), stranger, stranger), 0);
  EXPECT_EQ(dump("intfCounters"), ExitCode::ok);
  options.directoryNamed = false;
  EXPECT_EQ(dump("intfCounters"), ExitCode::unsafeTable);
  EXPECT_THAT(err.str(), HasSubstr("belongs to user 54321, who is neither you nor the superuser"));
  EXPECT_EQ(list(), ExitCode::unsafeTable);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::unsafeTable);
}

}  // namespace
}  // namespace Show
