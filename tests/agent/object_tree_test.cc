#include "agent/object_tree.h"

#include <gmock/gmock.h>

#include "agent/control_request.h"
#include "tests/agent/control_box.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ObjectTreeTest : public testing::Test {
 protected:
  ObjectTreeTest() { sut.rootIs("top", top); }
  // The reason why there is nothing.
  std::string refusal(std::string const& path) {
    try {
      sut.object(path);
    } catch (ControlError const& error) {
      code = error.code();
      return error.what();
    }
    return "found";
  }

  Kel::Ptr<Box> top = Kel::instance<Box>(Kel::Name("top"));
  ObjectTree sut;
  ControlCode code = ControlCode::failed;
};

TEST_F(ObjectTreeTest, ListsItsRoots) {
  sut.rootIs("other", top);
  EXPECT_THAT(sut.roots(), ElementsAre("other", "top"));
}

TEST_F(ObjectTreeTest, FindsRootsCollectionsAndMembers) {
  auto const a = top->boxIs("a");
  auto const b = a->boxIs("b");
  EXPECT_EQ(sut.object("top"), top);
  EXPECT_EQ(sut.find("top/box").object, top);
  EXPECT_EQ(sut.find("top/box").collection, "box");
  EXPECT_EQ(sut.object("top/box/a"), a);
  EXPECT_EQ(sut.object("top/box/a/box/b"), b);
  EXPECT_EQ(sut.find("top/box/a/box").object, a);
}

TEST_F(ObjectTreeTest, KeysMayHoldSlashes) {
  auto const port = top->boxIs("Ethernet1"), lane = top->boxIs("Ethernet1/1");
  EXPECT_EQ(sut.object("top/box/Ethernet1"), port);
  EXPECT_EQ(sut.object("top/box/Ethernet1/1"), lane);
}

TEST_F(ObjectTreeTest, TheLongestKeyThatThereIsCounts) {
  auto const inner = top->boxIs("a")->boxIs("b");
  auto const whole = top->boxIs("a/box/b");
  EXPECT_EQ(sut.object("top/box/a/box/b"), whole);
}

TEST_F(ObjectTreeTest, AShorterKeyIsTriedWhereALongerOneDoesNotLeadOn) {
  auto const wanted = top->boxIs("a")->boxIs("b/c");
  top->boxIs("a/box/b");  // ends short of it: it has no "c"
  EXPECT_EQ(sut.object("top/box/a/box/b/c"), wanted);
}

TEST_F(ObjectTreeTest, SaysHowFarThePathLed) {
  EXPECT_THAT(refusal("nope"), HasSubstr("paths begin with: top"));
  EXPECT_THAT(refusal("top/nope/a"), HasSubstr("there are: box"));
  EXPECT_THAT(refusal("top/box/a"), HasSubstr("box has no key a"));
  EXPECT_EQ(code, ControlCode::unknownPath);
  EXPECT_THAT(refusal("top/box"), HasSubstr("top/box/KEY"));
}

TEST_F(ObjectTreeTest, StrangePathsLeadNowhere) {
  top->boxIs("a");
  for (char const* const path : {"", "/", "top/", "top//", "/top", "top/box/", "top/box//a",
                                 "top/box/a/", "top/box/a//", "top/size", "top/../top", "TOP"}) {
    EXPECT_NE(refusal(path), "found") << path;
    EXPECT_EQ(code, ControlCode::unknownPath) << path;
  }
}

TEST_F(ObjectTreeTest, AVeryLongPathIsRefused) {
  refusal("top/box/" + std::string(ObjectTree::kMaxPath, '/'));
  EXPECT_EQ(code, ControlCode::tooLong);
}

// Each slash may end a key, so that each would cost a search.
TEST_F(ObjectTreeTest, APathOfManySlashesIsRefused) {
  std::string path = "top/box/a";
  while (std::count(path.begin(), path.end(), '/') < ObjectTree::kMaxSlashes) path += "/a";
  top->boxIs(path.substr(8));
  EXPECT_EQ(refusal(path), "found");
  refusal(path + "/a");
  EXPECT_EQ(code, ControlCode::tooLong);
}

}  // namespace
}  // namespace Agent
