#include "tool/Interrupt.h"

#include <semaphore.h>

namespace Kvex::Tool {

namespace {

std::atomic<bool> interruptSeen = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may use it");

/// Wakes the thread that waits for an interrupt: of all such means one that a signal handler may use.
class Bell {
 public:
  Bell() { sem_init(&semaphore_, 0, 0); }
  void ring() { sem_post(&semaphore_); }
  void wait() { sem_wait(&semaphore_); }

 private:
  sem_t semaphore_;
};

Bell bell;

void onInterrupt(int) {
  interruptSeen = true;
  bell.ring();
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

StopOnInterrupt::StopOnInterrupt() {
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { wait(); });
}

StopOnInterrupt::~StopOnInterrupt() {
  ending_ = true;
  bell.ring();
  thread_.join();
}

void StopOnInterrupt::wait() {
  bell.wait();
  while (!interruptSeen && !ending_) {
    // It was meant for another one that waits.
    bell.ring();
    std::this_thread::yield();
    bell.wait();
  }
  if (!interruptSeen) return;
  bell.ring();
  source_.request_stop();
}

}  // namespace Kvex::Tool
