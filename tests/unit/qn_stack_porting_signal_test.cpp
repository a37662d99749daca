// SPDX-License-Identifier: MIT
// Guards what the socket layer keeps away from the application: the signal that
// sending to a peer that is gone raises.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <map>

#include "qnstack/qn_stack_porting.h"
#include "support/network_faults.h"
#include "support/signal_timer.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;

volatile sig_atomic_t signals_seen = 0;

extern "C" void CountSignal(int) { signals_seen = signals_seen + 1; }

// Puts back a signal's action.
class ScopedAction {
 public:
  ScopedAction(int signal, void (*handler)(int), int flags = 0) : signal_(signal) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(signal_, &action, &old_);
    signals_seen = 0;
  }
  ~ScopedAction() { sigaction(signal_, &old_, nullptr); }
  ScopedAction(const ScopedAction &) = delete;
  ScopedAction &operator=(const ScopedAction &) = delete;

 private:
  int signal_;
  struct sigaction old_ = {};
};

sigset_t OnlySigpipe() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

bool IsPending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

// Blocks SIGPIPE; a pending one is taken away at the end.
class BlockedSigpipe {
 public:
  BlockedSigpipe() {
    const sigset_t set = OnlySigpipe();
    pthread_sigmask(SIG_BLOCK, &set, &old_);
  }
  ~BlockedSigpipe() {
    const sigset_t set = OnlySigpipe();
    const timespec no_wait = {};
    while (IsPending()) sigtimedwait(&set, nullptr, &no_wait);
    pthread_sigmask(SIG_SETMASK, &old_, nullptr);
  }
  BlockedSigpipe(const BlockedSigpipe &) = delete;
  BlockedSigpipe &operator=(const BlockedSigpipe &) = delete;

 private:
  sigset_t old_;
};

// What a program has settled for a signal, and whether it waits.
struct SignalState {
  bool blocked;
  bool pending;
  void (*handler)(int);
  int flags;

  bool operator==(const SignalState &) const = default;
};

// The states of all signals that a program may use, by their numbers.
std::map<int, SignalState> Signals() {
  sigset_t mask;
  sigset_t pending;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  sigpending(&pending);
  std::map<int, SignalState> states;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0) continue;
    states[signal] = {sigismember(&mask, signal) == 1, sigismember(&pending, signal) == 1,
                      action.sa_handler, action.sa_flags};
  }
  return states;
}

// A connected slot whose other end is at hand.
class QnStackBrokenPipe : public testing::Test {
 protected:
  static constexpr int32_t kSlot = 1;

  QnStackBrokenPipe() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::abort();
    socket_list[kSlot] = {ends[0], 0, 0, 1};
    peer_ = ends[1];
  }
  ~QnStackBrokenPipe() override { ClosePeer(); }

  void ClosePeer() {
    if (peer_ >= 0) close(peer_);
    peer_ = -1;
  }

  int32_t SendToNobody() {
    ClosePeer();
    return fnQN_Stack_SendData(kSlot, "x", 1);
  }

  // Sends with each outcome: nothing about any signal changes, not for the moment
  // either in which the system sends.
  void ExpectSignalsAreLeft() {
    const std::map<int, SignalState> before = Signals();
    int sends = 0;
    NetworkFaults network;
    network.DuringSend([&] {
      ++sends;
      EXPECT_EQ(Signals(), before);
    });
    network.Script("send", {Pass(), FailWith(ECONNRESET)});
    EXPECT_EQ(fnQN_Stack_SendData(kSlot, "x", 1), 1);
    EXPECT_EQ(Signals(), before);
    EXPECT_EQ(fnQN_Stack_SendData(kSlot, "x", 1), -1);
    EXPECT_EQ(fnQN_Stack_SocketError(), ECONNRESET);
    EXPECT_EQ(Signals(), before);
    EXPECT_EQ(SendToNobody(), -1);
    EXPECT_EQ(fnQN_Stack_SocketError(), EPIPE);
    EXPECT_EQ(Signals(), before);
    EXPECT_EQ(sends, 3);
  }

  qntest::Watchdog watchdog_;
  SlotTable table_;
  int peer_ = -1;
};

TEST_F(QnStackBrokenPipe, ApplicationSurvivesWithTheDefaultAction) {
  const ScopedAction action(SIGPIPE, SIG_DFL);
  EXPECT_EQ(SendToNobody(), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), EPIPE);
}

TEST_F(QnStackBrokenPipe, HandlerOfTheApplicationIsNotCalled) {
  const ScopedAction action(SIGPIPE, CountSignal);
  EXPECT_EQ(SendToNobody(), -1);
  EXPECT_EQ(signals_seen, 0);
}

TEST_F(QnStackBrokenPipe, SendLeavesAllSignalsAsTheyAreDuringItAndAfter) { ExpectSignalsAreLeft(); }

TEST_F(QnStackBrokenPipe, SendLeavesABlockedSignal) {
  const BlockedSigpipe blocked;
  ExpectSignalsAreLeft();
}

TEST_F(QnStackBrokenPipe, SendLeavesASignalThatIsPendingForTheThread) {
  const BlockedSigpipe blocked;
  raise(SIGPIPE);
  ASSERT_TRUE(IsPending());
  ExpectSignalsAreLeft();
}

TEST_F(QnStackBrokenPipe, SendLeavesASignalThatIsPendingForTheProcess) {
  const BlockedSigpipe blocked;
  kill(getpid(), SIGPIPE);
  ASSERT_TRUE(IsPending());
  ExpectSignalsAreLeft();
}

TEST_F(QnStackBrokenPipe, SendLeavesAHandlerWithItsFlags) {
  const ScopedAction action(SIGPIPE, CountSignal, SA_RESTART | SA_NODEFER);
  ExpectSignalsAreLeft();
}

TEST_F(QnStackBrokenPipe, SendLeavesASignalThatIsIgnored) {
  const ScopedAction action(SIGPIPE, SIG_IGN);
  ExpectSignalsAreLeft();
}

TEST_F(QnStackBrokenPipe, SignalInterruptsAReceiveWithMinusOne) {
  char byte = 0;
  int32_t result = 0;
  int32_t error = 0;
  {
    const qntest::SignalTimer timer;
    result = fnQN_Stack_RecvData(kSlot, &byte, 1);
    error = fnQN_Stack_SocketError();
  }

  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EINTR);
  EXPECT_GT(qntest::SignalTimer::Count(), 0);
}

}  // namespace
