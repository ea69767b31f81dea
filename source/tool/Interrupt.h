#pragma once

#include <csignal>

#include "store/DataStore.h"

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

/// Cancels a store's operations when an interrupt comes. One at a time.
class CancelOnInterrupt {
 public:
  explicit CancelOnInterrupt(Sto::DataStore& store);
  ~CancelOnInterrupt();
  CancelOnInterrupt(const CancelOnInterrupt&) = delete;
  CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;
};

}  // namespace Kvex::Tool
