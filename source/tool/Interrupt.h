#pragma once

#include <atomic>
#include <csignal>
#include <stop_token>
#include <thread>

namespace Kvex::Tool {

/// From now on an interrupt (Ctrl-C, a request to end, a terminal that is closed) sets a flag in place of ending the
/// process; the second one ends it. Writing to a closed pipe becomes an ordinary error.
void catchInterrupts();

/// Whether an interrupt has come.
bool interrupted();

/// Keeps signals from this thread while it stands. A thread that is started meanwhile keeps them away for good: they go
/// to the thread that does the work, so that a write that waits there is interrupted.
class SignalsBlocked {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

/// Requests a stop when an interrupt comes. It does so from a thread of its own, since a signal handler may not. One at
/// a time.
class StopOnInterrupt {
 public:
  StopOnInterrupt();
  ~StopOnInterrupt();
  StopOnInterrupt(const StopOnInterrupt&) = delete;
  StopOnInterrupt& operator=(const StopOnInterrupt&) = delete;

  std::stop_token token() const { return source_.get_token(); }

 private:
  void wait();

  std::stop_source source_;
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

}  // namespace Kvex::Tool
