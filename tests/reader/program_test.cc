// The program as its users start it, on tables that a writer published.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "platform/glim/layout.h"
#include "tests/reader/program.h"

namespace Show {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// `top` on a terminal of its own, 100 columns wide.
class Terminal {
 public:
  Terminal(std::string directory, char const* type) {
    winsize const size{.ws_row = 24, .ws_col = 100, .ws_xpixel = 0, .ws_ypixel = 0};
    _child = ::forkpty(&_fd, nullptr, nullptr, &size);
    if (_child != 0) return;
    ::setenv("TERM", type, 1);
    ::execl(ORU_COUNTERS_PROGRAM, "oru-counters", "--tables", directory.c_str(), "top", nullptr);
    ::_exit(kCannotRun);
  }
  ~Terminal() {
    if (_child > 0) {
      ::kill(_child, SIGKILL);
      ::waitpid(_child, nullptr, 0);
    }
    ::close(_fd);
  }
  Terminal(Terminal const&) = delete;
  Terminal& operator=(Terminal const&) = delete;

  // What was written to it since the last call, up to the text; empty when that does not come.
  std::string waitFor(std::string_view text) {
    std::string seen;
    while (seen.find(text) == std::string::npos) {
      pollfd wait{.fd = _fd, .events = POLLIN, .revents = 0};
      char bytes[4096];
      if (::poll(&wait, 1, 20'000) != 1) return {};
      ssize_t const n = ::read(_fd, bytes, sizeof bytes);
      if (n <= 0) return {};
      seen.append(bytes, static_cast<std::size_t>(n));
    }
    return seen;
  }
  void type(std::string_view keys) {
    if (::write(_fd, keys.data(), keys.size()) < 0) ADD_FAILURE() << "cannot type " << keys;
  }
  void end() { ::kill(_child, SIGTERM); }
  int exitCode() {
    int status = 0;
    ::waitpid(std::exchange(_child, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  int _fd = -1;
  pid_t _child = 0;
};

TEST_F(Program, ShowsTheInterfacesOfALivingAgent) {
  tables.start();
  tables.writeTwo();
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith("Agent running, process " + std::to_string(::getpid())));
  EXPECT_THAT(result.out, HasSubstr("\nEthernet1  eth0    up          1000"));
  EXPECT_THAT(result.out, HasSubstr("\nEthernet2  eth1    down        2000"));
  EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(Program, ShowsTheRowsOfADeadAgentAsStale) {
  tables.start();
  tables.writeTwo();
  tables.stop();
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith("Agent not running"));
  EXPECT_THAT(result.out, HasSubstr("1000"));
  EXPECT_THAT(result.out, ContainsRegex("stale [0-9]"));
}

TEST_F(Program, SaysThatThereAreNoInterfacesYet) {
  tables.start();
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("No interfaces."));
}

TEST_F(Program, PrintsJsonThatParses) {
  tables.start();
  tables.writeTwo();
  Result const result = run({"show", "interfaces", "Ethernet2", "--json"});
  EXPECT_EQ(result.exitCode, 0);
  auto const json = nlohmann::json::parse(result.out);
  ASSERT_EQ(json["interfaces"].size(), 1u);
  EXPECT_EQ(json["interfaces"][0]["counters"]["inOctets"], 2000);
  EXPECT_EQ(json["agent"]["state"], "running");
}

TEST_F(Program, TopWithoutATerminalPrintsPlainTables) {
  tables.start();
  tables.writeTwo();
  Result const result = run({"top", "--for", "0"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("\nEthernet1  eth0    up"));
  EXPECT_THAT(result.out, Not(HasSubstr("\033")));
}

TEST_F(Program, TopOnATerminalQuitsByItsKey) {
  tables.start();
  tables.writeTwo();
  Terminal terminal(directory, "xterm");
  std::string const screen = terminal.waitFor("q quit");
  EXPECT_THAT(screen, HasSubstr("Agent running"));
  EXPECT_THAT(screen, HasSubstr("Ethernet2"));
  terminal.type("q");
  EXPECT_EQ(terminal.exitCode(), 0);
}

TEST_F(Program, TopOnATerminalFollowsItsKeys) {
  tables.start();
  tables.writeTwo();
  Terminal terminal(directory, "xterm");
  terminal.waitFor("q quit");
  terminal.type("s");
  EXPECT_THAT(terminal.waitFor("in"), Not(IsEmpty()));
  terminal.type("r");
  EXPECT_THAT(terminal.waitFor("octets"), Not(IsEmpty()));
  terminal.type("q");
  EXPECT_EQ(terminal.exitCode(), 0);
}

TEST_F(Program, TopOnATerminalGivesItBackWhenItIsEnded) {
  tables.start();
  Terminal terminal(directory, "xterm");
  terminal.waitFor("q quit");
  terminal.end();
  EXPECT_THAT(terminal.waitFor("\033[?1049l"), HasSubstr("\033[?1049l"));
  EXPECT_EQ(terminal.exitCode(), 0);
}

TEST_F(Program, TopOnATerminalOfAnUnknownTypePrintsPlainTables) {
  tables.start();
  tables.writeTwo();
  Terminal terminal(directory, "no-such-terminal");
  EXPECT_THAT(terminal.waitFor("Ethernet2"), Not(HasSubstr("\033")));
  terminal.end();
  EXPECT_EQ(terminal.exitCode(), 0);
}

TEST_F(Program, NamesAnUnknownIntfAndShowsTheOthers) {
  tables.start();
  tables.writeTwo();
  Result const result = run({"show", "interfaces", "Ethernet7", "eth1"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err, "oru-counters: there is no interface Ethernet7\n");
  EXPECT_THAT(result.out, HasSubstr("Ethernet2"));
  EXPECT_THAT(result.out, Not(HasSubstr("Ethernet1")));
}

TEST_F(Program, SaysHowToStartTheAgentWhenThereAreNoTables) {
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.err, "oru-counters: there are no tables in " + directory +
                            "; start the agent with: oru-agentd --tables " + directory + "\n");
  EXPECT_THAT(result.out, IsEmpty());
}

TEST_F(Program, SaysTheSameWhenThereIsNoDirectory) {
  directory += "/nowhere";
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(result.err, HasSubstr("oru-agentd --tables " + directory + "\n"));
}

TEST_F(Program, JsonTellsAMissingTableToo) {
  Result const result = run({"show", "interfaces", "--json"});
  EXPECT_EQ(result.exitCode, 4);
  auto const json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["tables"]["intfCounters"]["status"], "missing");
  EXPECT_EQ(json["problems"][0]["exitCode"], 4);
}

TEST_F(Program, ShowsTheCountersWhenOnlyTheDescriptionsAreMissing) {
  tables.start();
  tables.writeTwo();
  tables.stop();
  std::filesystem::remove(tables.file(Interface::kIntfDescriptions));
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(result.err,
              HasSubstr("there is no table " + tables.file(Interface::kIntfDescriptions)));
  EXPECT_THAT(result.out, HasSubstr("\nEthernet1  n/a     n/a         1000"));
}

TEST_F(Program, SaysThatPermissionIsMissing) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can become a user without permission";
  tables.start();
  tables.writeTwo();
  ::chmod(tables.file(Interface::kIntfCounters).c_str(), 0600);
  Result const result = run({"show", "interfaces"}, true);
  if (result.exitCode == kCannotRun) GTEST_SKIP() << "others may not run the program from here";
  EXPECT_EQ(result.exitCode, 5);
  EXPECT_THAT(result.err, HasSubstr(tables.file(Interface::kIntfCounters) + " cannot be opened"));
}

TEST_F(Program, AUserWithoutPrivilegesReadsTheTablesOfTheSuperuser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can become another user";
  tables.start();
  tables.writeTwo();
  Result const result = run({"show", "interfaces"}, true);
  if (result.exitCode == kCannotRun) GTEST_SKIP() << "others may not run the program from here";
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith("Agent running"));
}

TEST_F(Program, SaysThatAFileIsNoTable) {
  tables.write(Interface::kIntfCounters, "not a table at all\n");
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 4) << "the other tables are missing";
  EXPECT_THAT(result.err, HasSubstr(tables.file(Interface::kIntfCounters) + " is not a table"));
}

TEST_F(Program, EndsWithItsOwnCodeForAFileThatIsNoTable) {
  tables.start();
  tables.stop();
  tables.write(Interface::kIntfCounters, "not a table at all\n");
  EXPECT_EQ(run({"show", "interfaces"}).exitCode, 6);
}

TEST_F(Program, SaysThatATableWasCutShort) {
  tables.start();
  tables.writeTwo();
  tables.stop();
  std::filesystem::resize_file(tables.file(Interface::kIntfCounters), 4096);
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 6);
  EXPECT_THAT(result.err, HasSubstr(tables.file(Interface::kIntfCounters)));
}

TEST_F(Program, SaysThatATableIsOfAnotherLayout) {
  tables.start();
  tables.stop();
  tables.damageByte(Interface::kIntfCounters, Glim::Layout::fixedLayoutVersion * 8);
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_THAT(result.err, HasSubstr("another layout version"));
}

TEST_F(Program, SaysThatATableHoldsOtherRecords) {
  tables.start();
  tables.stop();
  std::filesystem::copy_file(tables.file(Interface::kIntfDescriptions),
                             tables.file(Interface::kIntfCounters),
                             std::filesystem::copy_options::overwrite_existing);
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_THAT(result.err, HasSubstr("holds other records"));
}

TEST_F(Program, RefusesATableThatOthersMayWrite) {
  tables.start();
  ::chmod(tables.file(Interface::kIntfCounters).c_str(), 0666);
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 8);
  EXPECT_THAT(result.err, HasSubstr("not safe to read"));
}

TEST_F(Program, RefusesASymbolicLink) {
  tables.start();
  tables.stop();
  std::string const file = tables.file(Interface::kIntfCounters);
  std::filesystem::rename(file, file + ".real");
  std::filesystem::create_symlink(file + ".real", file);
  EXPECT_EQ(run({"show", "interfaces"}).exitCode, 8);
}

TEST_F(Program, LeavesACorruptRowOutAndSaysSo) {
  tables.start();
  tables.writeTwo();
  tables.stop();
  tables.damageRow(Interface::kIntfCounters, 0);
  Result const result = run({"show", "interfaces"});
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_EQ(result.err, "oru-counters: 1 corrupt row of " + tables.file(Interface::kIntfCounters) +
                            " was left out\n");
  EXPECT_THAT(result.out, HasSubstr("n/a"));
}

TEST_F(Program, RefusesWrongUsage) {
  Result const result = run({"show", "interfaces", "--loud"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("--loud"));
}

TEST_F(Program, EndsWithoutAWordWhenItsReaderHasSeenEnough) {
  tables.start();
  tables.writeTwo();
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  ::close(ends[0]);
  Result const result =
      run({"show", "interfaces"}, false, {}, [&ends] { ::dup2(ends[1], STDOUT_FILENO); });
  ::close(ends[1]);
  EXPECT_EQ(result.exitCode, -1) << "ended by the signal";
  EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(Program, SaysThatItsOutputCouldNotBeWritten) {
  tables.start();
  tables.writeTwo();
  Result const result = run({"show", "interfaces"}, false, "/dev/full");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("could not be written"));
}

}  // namespace
}  // namespace Show
