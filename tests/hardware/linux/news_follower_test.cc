// The kernel's socket of news, and a reader that is told what to answer.
#include "hardware/linux/news_follower.h"

#include <fcntl.h>
#include <linux/rtnetlink.h>

#include <deque>
#include <stdexcept>

#include "platform/glim/file_descriptor.h"
#include "tests/hardware/linux/monitor_socket.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using Test::InPlaceOfSocket;

class NewsFollowerInKernel : public Test::NetworkNamespace {
 protected:
  using Answer = std::function<std::error_code(NewsFollower::Visitor const&)>;

  // How lists end, one after the other; after the last all end well, with nothing in them.
  std::deque<Answer> answers;
  // What an entry of a list or news says.
  bool onlyAListCanTell = false;
  int lists = 0;
  int messages = 0;

  NewsFollower::Reader const reader{
      [this](nlmsghdr const&) { return ++messages, onlyAListCanTell; },
      [this](NewsFollower::Visitor const& visit) {
        ++lists;
        if (answers.empty()) return std::error_code();
        Answer const answer = answers.front();
        answers.pop_front();
        return answer(visit);
      }};
  static Answer failing(std::errc error) {
    return [error](auto const&) { return std::make_error_code(error); };
  }
  NewsFollower sut{{RTNLGRP_LINK}, 1 << 20};
};

TEST_F(NewsFollowerInKernel, ItBeginsWithTheList) {
  EXPECT_EQ(sut.poll(reader), std::errc::not_connected);
  EXPECT_EQ(sut.fd(), -1);
  EXPECT_EQ(lists, 0);
  ASSERT_FALSE(sut.start(reader));
  EXPECT_GE(sut.fd(), 0);
  EXPECT_EQ(lists, 1);
}

TEST_F(NewsFollowerInKernel, NewsIsReadWithoutAnotherList) {
  ASSERT_FALSE(sut.start(reader));
  addVethPair("a", "b", false);
  ASSERT_FALSE(sut.poll(reader));
  EXPECT_GE(messages, 2);
  EXPECT_EQ(lists, 1);
}

TEST_F(NewsFollowerInKernel, NewsThatOnlyAListCanTellIsFollowedByOne) {
  ASSERT_FALSE(sut.start(reader));
  addVethPair("a", "b", false);
  onlyAListCanTell = true;
  ASSERT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 2);  // one for all of them
  ASSERT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 2);
}

TEST_F(NewsFollowerInKernel, AListThatSuchNewsOvertookIsTakenAgain) {
  answers = {[&](auto const& visit) {
    onlyAListCanTell = true;
    visit(NetlinkRequest(RTM_NEWLINK, ifinfomsg{}).header());
    onlyAListCanTell = false;
    return std::error_code();
  }};
  ASSERT_FALSE(sut.start(reader));
  EXPECT_EQ(lists, 2);
}

TEST_F(NewsFollowerInKernel, AListThatIsNotWholeIsTakenAgain) {
  answers = {failing(std::errc::interrupted), failing(std::errc::interrupted)};
  ASSERT_FALSE(sut.start(reader));
  EXPECT_EQ(lists, 3);
}

TEST_F(NewsFollowerInKernel, AListThatIsNeverWholeIsGivenUpUntilTheNextPoll) {
  answers.assign(16, failing(std::errc::interrupted));
  EXPECT_EQ(sut.start(reader), std::errc::interrupted);
  EXPECT_EQ(lists, 16);
  EXPECT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 17);
}

TEST_F(NewsFollowerInKernel, AListThatFailedIsTakenByTheNextPoll) {
  answers = {failing(std::errc::timed_out)};
  EXPECT_EQ(sut.start(reader), std::errc::timed_out);
  EXPECT_EQ(lists, 1);
  EXPECT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 2);
  EXPECT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 2);
}

TEST_F(NewsFollowerInKernel, AListThatThrewIsTakenByTheNextPoll) {
  answers = {[](auto const&) -> std::error_code { throw std::runtime_error("no"); }};
  EXPECT_THROW(sut.start(reader), std::runtime_error);
  EXPECT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 2);
}

TEST_F(NewsFollowerInKernel, LostNewsIsMadeGoodByTheListAndCounted) {
  NewsFollower small({RTNLGRP_LINK}, 1);  // the kernel makes that its least, a few KB
  ASSERT_FALSE(small.start(reader));
  for (int i = 0; i < 40; ++i) addVethPair("v" + std::to_string(i), "w" + std::to_string(i), false);
  ASSERT_FALSE(small.poll(reader));
  EXPECT_GE(small.resynchronisations(), 1u);
  EXPECT_EQ(lists, 2);
}

TEST_F(NewsFollowerInKernel, NewsThatCouldNotBeReadIsMadeGoodByTheListOfTheNextPoll) {
  ASSERT_FALSE(sut.start(reader));
  {
    InPlaceOfSocket const noSocket(sut.fd(), Glim::FileDescriptor(open("/dev/null", O_RDONLY)));
    EXPECT_EQ(sut.poll(reader), std::errc::not_a_socket);
    EXPECT_EQ(lists, 1);
  }
  EXPECT_FALSE(sut.poll(reader));
  EXPECT_EQ(lists, 2);
  EXPECT_EQ(sut.resynchronisations(), 0u);
}

}  // namespace
}  // namespace Hardware::Linux
