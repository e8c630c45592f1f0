#include "platform/glim/header_check.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "tests/platform/glim/table_check_fixture.h"

namespace Glim {
namespace {

using GlimTest::Small;
using GlimTest::TableCheck;
using GlimTest::Vandal;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HeaderCheck : public TableCheck {
 protected:
  std::vector<std::string> problems() {
    FileDescriptor const fd(::open(file().c_str(), O_RDONLY | O_CLOEXEC));
    return headerProblems(fd.get());
  }
  std::vector<std::string> problemsWith(std::size_t fixedWord, Word value) {
    Vandal vandal(file());
    Word& word = vandal.word(fixedWord * sizeof(Word));
    Word const was = std::exchange(word, value);
    auto const found = problems();
    word = was;
    return found;
  }
};

TEST_F(HeaderCheck, AGoodHeaderHasNone) { EXPECT_THAT(problems(), IsEmpty()); }

TEST_F(HeaderCheck, EveryFixedWordIsToldByItsName) {
  using testing::StartsWith;
  struct {
    Layout::FixedWord word;
    Word value;
    char const* text;
  } const cases[] = {
      {Layout::fixedMagic, 1, "the file does not begin with ORUGLIM1"},
      {Layout::fixedMagic, __builtin_bswap64(Layout::magic), "the table is of a machine of the"},
      {Layout::fixedLayoutVersion, 2, "the layout version is 2, and this program knows 1"},
      {Layout::fixedSchemaHash, 1, "the header's checksum fails, and the schema's hash is 0x0000"},
      {Layout::fixedRowWords, 0, "the header says 0 words a row"},
      {Layout::fixedRowWords, 9, "the header says stride 64, and from its other words follows 192"},
      {Layout::fixedKeyBytes, 17, "the header says 2 words a row, 17 bytes a key"},
      {Layout::fixedKeyBytes, 16, "the header's checksum fails"},
      {Layout::fixedMaxRows, 1u << 21, "the header says 2 words a row"},
      {Layout::fixedMaxRows, 65, "the header says buckets 128"},
      {Layout::fixedSchemaBytes, 0, "the header says 2 words a row"},
      {Layout::fixedSchemaBytes, 12, "the header's checksum fails, and the schema's hash"},
      {Layout::fixedStride, 128, "the header says stride 128"},
      {Layout::fixedBuckets, 256, "the header says buckets 256"},
      {Layout::fixedIndexOffset, 8192, "the header says index offset 8192"},
      {Layout::fixedSlotsOffset, 4096, "the header says slots offset 4096"},
      {Layout::fixedFileBytes, 1, "the header says file size 1"},
      {Layout::fixedCreated, 1, "the header's checksum fails"},
      {Layout::fixedReserved, 1, "the header's checksum fails"},
      {Layout::fixedChecksum, 1, "the header's checksum fails"},
  };
  for (auto const& one : cases)
    EXPECT_THAT(problemsWith(one.word, one.value), Contains(StartsWith(one.text))) << one.word;
}

TEST_F(HeaderCheck, TheSchemaTextIsChecked) {
  Vandal(file()).word(Layout::schemaOffset) ^= 0x20;
  EXPECT_THAT(problems(), ElementsAre(HasSubstr("and the schema's hash is")));
}

TEST_F(HeaderCheck, ASchemaThatDoesNotFillTheRowIsToldWhere) {
  table = nullptr;
  auto const problemsOf = [&](std::string const& schema) {
    Vandal vandal(file());
    EXPECT_EQ(schema.size(), vandal.geometry().schemaBytes);
    auto const fixed = Layout::makeFixedWords(vandal.geometry(), schema, schemaHashOf(schema), 0);
    EXPECT_EQ(::pwrite(vandal.fd(), fixed.data(), sizeof fixed, 0),
              static_cast<ssize_t>(sizeof fixed));
    EXPECT_EQ(::pwrite(vandal.fd(), schema.data(), schema.size(), Layout::schemaOffset),
              static_cast<ssize_t>(schema.size()));
    return problems();
  };
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:u64:8:1\n"), IsEmpty());
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:u32:8:1\n"),
              ElementsAre("the schema's fields are 12 bytes of a row's 16 bytes"));
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:u64:0:1\n"),
              ElementsAre("the schema's field count is out of its place"));
  EXPECT_THAT(problemsOf("Small\nkey:u32:0:1\ncount:u32:4:3\n"),
              ElementsAre("the key does not end where a field ends"));
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:i64:8:1\n"),
              ElementsAre("the schema text is none of a row's fields"));
}

TEST_F(HeaderCheck, AFileThatIsCutShortIsToldWhere) {
  auto const cutTo = [&](std::uintmax_t size) {
    std::filesystem::resize_file(file(), size);
    return problems();
  };
  table = nullptr;
  std::uintmax_t const size = std::filesystem::file_size(file());
  EXPECT_THAT(cutTo(size + 64), ElementsAre(HasSubstr("more than the")));
  EXPECT_THAT(cutTo(size - 10), ElementsAre(HasSubstr("ends within a slot, 54 bytes")));
  EXPECT_THAT(cutTo(size - 64), IsEmpty());
  EXPECT_THAT(cutTo(4096), ElementsAre(HasSubstr("its slots would begin at 8192")));
  EXPECT_THAT(cutTo(520), ElementsAre(HasSubstr("ends within its schema text")));
  EXPECT_THAT(cutTo(11), ElementsAre("the file has 11 bytes, too few for a header"));
}

TEST_F(HeaderCheck, AFileWithHolesIsToldAsSuch) {
  table = nullptr;
  std::uintmax_t const size = std::filesystem::file_size(file());
  std::filesystem::resize_file(file(), size - 4096);
  std::filesystem::resize_file(file(), size);
  EXPECT_THAT(problems(), ElementsAre(HasSubstr("the file has holes")));
}

}  // namespace
}  // namespace Glim
