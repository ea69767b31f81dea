#include "tool/Interrupt.h"

#include <atomic>

namespace Kvex::Tool {

namespace {

std::atomic<bool> interruptSeen = false;
std::atomic<Sto::DataStore*> storeAtWork = nullptr;
static_assert(std::atomic<Sto::DataStore*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "a signal handler may use them");

void onInterrupt(int) {
  interruptSeen = true;
  if (Sto::DataStore* store = storeAtWork) store->cancel();
}

}  // namespace

void catchInterrupts() {
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  // Not restarted, so that a write that waits for its reader ends too.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

bool interrupted() {
  return interruptSeen;
}

SignalsBlocked::SignalsBlocked() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before_);
}

SignalsBlocked::~SignalsBlocked() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

CancelOnInterrupt::CancelOnInterrupt(Sto::DataStore& store) {
  storeAtWork = &store;
  if (interruptSeen) store.cancel();  // it came before the store was known
}

CancelOnInterrupt::~CancelOnInterrupt() {
  storeAtWork = nullptr;
}

}  // namespace Kvex::Tool
