// SPDX-License-Identifier: MIT
// Guards the runs themselves: were they blind, every scenario would hold for
// nothing. And the counter: one number over calls of every kind.
#include "fault/fault_run.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "qnstack/qn_stack_porting.h"
#include "support/network_faults.h"
#include "support/slot_table.h"

namespace qntest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

// A program of the test's own.
class Program : public Scenario {
 public:
  explicit Program(bool (*act)()) : act_(act) {}
  void Act() override { done_ = act_(); }
  bool Done() const override { return done_; }
  std::string Seen() const override { return done_ ? "done" : "failed"; }
  Verdict Judge(bool heap_refused) override {
    return heap_refused && done_ ? Broken("done without memory") : Verdict();
  }

 private:
  bool (*act_)();
  bool done_ = false;
};

Tally RunOf(bool (*act)(), Way way = Way::kOne, Sample sample = {}) {
  ScenarioKind kind;
  kind.name = "test";
  kind.make = [act] { return std::make_unique<Program>(act); };
  return RunAtEachPoint(kind, way, sample);
}

// Two blocks; what happens when the second is refused is the part under test.
bool TakeTwo(void (*on_refusal)(void *first)) {
  void *first = std::malloc(8);
  if (first == nullptr) return false;
  void *second = std::malloc(8);
  if (second == nullptr) {
    on_refusal(first);
    return false;
  }
  std::free(first);
  std::free(second);
  return true;
}

void *lost = nullptr;

// Has so many files open at once.
bool OpenNull(int count) {
  if (count == 0) return true;
  const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const bool all = fd >= 0 && OpenNull(count - 1);
  if (fd >= 0) close(fd);
  return all;
}

TEST(FaultRun, HoldsForAProgramThatGivesAllBack) {
  const Tally tally = RunOf([] { return TakeTwo(std::free); });
  EXPECT_EQ(tally.calls, 2);
  EXPECT_EQ(tally.points, 2);
  EXPECT_EQ(tally.held, 2);
  EXPECT_THAT(tally.complaints, IsEmpty());
}

TEST(FaultRun, FindsABlockThatIsLost) {
  const Tally tally = RunOf([] { return TakeTwo([](void *first) { lost = first; }); });
  std::free(lost);
  EXPECT_THAT(tally.complaints, ElementsAre(HasSubstr("call 2 of 2, malloc fails: 1 blocks")));
  EXPECT_EQ(tally.held, 1);
}

TEST(FaultRun, FindsADescriptorThatIsLeftOpen) {
  static std::vector<int> opened;
  const Tally tally = RunOf([] {
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    opened.push_back(fd);
    return TakeTwo(std::free) && close(fd) == 0;
  });
  EXPECT_THAT(tally.complaints,
              ElementsAre(HasSubstr("malloc fails: descriptors"), HasSubstr("malloc fails: desc")));
  for (const int fd : opened) {
    if (fcntl(fd, F_GETFD) != -1) close(fd);
  }
}

TEST(FaultRun, FindsASlotThatIsLeftTaken) {
  const Tally tally = RunOf([] {
    const int32_t slot = fnQN_Stack_CreateSocket();
    if (!TakeTwo(std::free)) return false;
    fnQN_Stack_CloseSocket(slot);
    return true;
  });
  EXPECT_THAT(tally.complaints, SizeIs(2));
}

TEST(FaultRun, FindsASuccessThatIsNone) {
  const Tally tally = RunOf([] {
    TakeTwo(std::free);
    return true;
  });
  EXPECT_THAT(tally.complaints, ElementsAre(HasSubstr("done without"), HasSubstr("done without")));
}

TEST(FaultRun, FindsRunsThatDoNotMakeTheSameCalls) {
  static int runs = 0;
  runs = 0;
  const Tally tally = RunOf([] {
    if (++runs > 1) std::free(std::calloc(1, 8));
    return TakeTwo(std::free);
  });
  EXPECT_THAT(tally.complaints, SizeIs(2));
}

TEST(FaultRun, FindsAnInterruptionThatIsNotAnyFailure) {
  const Tally tally = RunOf(
      [] {
        NetworkFaults network(NetworkFaults::Mode::kOffline);
        char byte = 0;
        return recv(NetworkFaults::kFirstMadeUpDescriptor, &byte, 1, 0) == 0 || errno == EINTR;
      },
      Way::kInterrupted);
  EXPECT_THAT(tally.complaints, ElementsAre(HasSubstr("recv is interrupted: seen done but")));
}

TEST(FaultRun, FailsEachKindWithEachOfItsErrors) {
  const Tally tally =
      RunOf([] { return TakeTwo([](void *first) { lost = first; }) && OpenNull(1) && OpenNull(1); },
            Way::kKind);
  EXPECT_THAT(tally.complaints, IsEmpty()) << "no call of the heap succeeds";
  std::vector<std::string> rows;
  for (const auto &[row, share] : tally.rows) {
    rows.push_back(row + " " + std::to_string(share.points) + std::to_string(share.done));
  }
  EXPECT_THAT(rows, ElementsAre("close with EINTR 11", "close with EIO 11", "close with ENOSPC 11",
                                "malloc with ENOMEM 10", "open with EACCES 10", "open with EIO 10",
                                "open with ENFILE 10"));
}

TEST(FaultRun, FindsACallThatMustNotMatter) {
  const Tally tally = RunOf(
      [] {
        const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (fd < 0) return false;
        const bool locked = flock(fd, LOCK_SH) == 0 || errno == ENOSYS || errno == EIO;
        close(fd);
        return locked;
      },
      Way::kKind);
  EXPECT_THAT(tally.complaints,
              UnorderedElementsAre(HasSubstr("every flock with ENOLCK: the call was not carried"),
                                   HasSubstr("every flock with EOPNOTSUPP: the call was not")));
}

TEST(FaultRun, LeavesSoFewDescriptors) {
  const Tally tally = RunOf([] { return OpenNull(3); }, Way::kDescriptors);
  EXPECT_THAT(tally.complaints, IsEmpty());
  EXPECT_THAT(tally.rows, SizeIs(9));
  for (const auto &[row, share] : tally.rows) EXPECT_EQ(share.done, row < "3" ? 0 : 1) << row;
}

TEST(FaultRun, FindsADescriptorThatIsLeftOpenForWantOfMore) {
  static std::vector<int> opened;
  const Tally tally = RunOf(
      [] {
        const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (OpenNull(1)) return close(fd) == 0;
        if (fd >= 0) opened.push_back(fd);
        return false;
      },
      Way::kDescriptors);
  EXPECT_THAT(tally.complaints,
              ElementsAre(HasSubstr("1 descriptors are left: descriptors are left open")));
  EXPECT_THAT(opened, SizeIs(1));
  for (const int fd : opened) close(fd);
}

TEST(FaultRun, SampleTakesEachStride) {
  const auto act = [] { return TakeTwo(std::free) && TakeTwo(std::free); };
  EXPECT_EQ(RunOf(act, Way::kRest, {.stride = 3, .offset = 0}).points, 2);
  EXPECT_EQ(RunOf(act, Way::kRest, {.stride = 3, .offset = 1}).points, 1);
}

// One call of each kind.
std::vector<bool> HeapNetworkFile() {
  void *block = std::malloc(8);
  const int socket_fd = socket(AF_INET, SOCK_STREAM, 0);
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  std::free(block);
  if (socket_fd >= 0) close(socket_fd);
  if (file >= 0) close(file);
  return {block != nullptr, socket_fd >= 0, file >= 0};
}

TEST(CallFaults, CountCallsOfEveryKind) {
  const CallFaults calls(kAllCalls);
  HeapNetworkFile();
  EXPECT_THAT(calls.Names(), ElementsAre("malloc", "socket", "open", "close", "close"));
  EXPECT_EQ(calls.Heap().live, 0);
}

TEST(CallFaults, FailTheChosenCallAloneOrWithTheRest) {
  {
    const CallFaults calls(kAllCalls, {.at = 2});
    EXPECT_THAT(HeapNetworkFile(), ElementsAre(true, false, true));
    EXPECT_EQ(calls.Failures(), 1);
  }
  const CallFaults calls(kAllCalls, {.at = 2, .onwards = true});
  EXPECT_THAT(HeapNetworkFile(), ElementsAre(true, false, false));
}

TEST(CallFaults, FailEveryCallOfANameOrThoseAfterSome) {
  {
    const CallFaults calls(kAllCalls, {.every = "socket", .error = EMFILE});
    for (int i = 0; i < 2; ++i) EXPECT_THAT(HeapNetworkFile(), ElementsAre(true, false, true));
    EXPECT_EQ(calls.Failures(), 2);
  }
  const CallFaults calls(kAllCalls, {.every = "open", .passed = 1});
  EXPECT_THAT(HeapNetworkFile(), ElementsAre(true, true, true));
  EXPECT_THAT(HeapNetworkFile(), ElementsAre(true, true, false));
  EXPECT_EQ(calls.Failures(), 1);
}

TEST(CallFaults, LetReceivesThroughAfterSoMany) {
  NetworkFaults network(NetworkFaults::Mode::kOffline);
  const CallFaults calls(kAllCalls, {.at = 1, .onwards = true, .most_failed_receives = 2});
  std::vector<ssize_t> results;
  char byte = 0;
  for (int i = 0; i < 4; ++i) {
    results.push_back(recv(NetworkFaults::kFirstMadeUpDescriptor, &byte, 1, 0));
  }
  EXPECT_THAT(results, ElementsAre(-1, -1, 0, 0));
}

TEST(CallFaults, CloseThatFailsClosesAllTheSame) {
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  {
    const CallFaults calls(kFileCalls, {.at = 1});
    EXPECT_EQ(close(file), -1);
    EXPECT_EQ(errno, EIO);
  }
  EXPECT_EQ(fcntl(file, F_GETFD), -1);
}

}  // namespace
}  // namespace qntest
