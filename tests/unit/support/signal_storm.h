// Signals for the tests of what a signal may and may not disturb.
#pragma once

#ifndef _WIN32
#include <signal.h>
#include <sys/time.h>
#endif

namespace kvrpc::test {

#ifdef _WIN32

// There are no signals there: the hook is asked at intervals, with or without a storm.
class signal_storm {
 public:
  signal_storm() {}
  ~signal_storm() {}
};

#else

// Sends this process a signal every five milliseconds; counts those that arrived.
class signal_storm {
 public:
  signal_storm() {
    arrived() = 0;
    struct sigaction action = {};
    action.sa_handler = [](int) { arrived() = arrived() + 1; };
    sigaction(SIGALRM, &action, &before_);
    const itimerval every = {{0, 5000}, {0, 5000}};
    setitimer(ITIMER_REAL, &every, nullptr);
  }
  ~signal_storm() {
    const itimerval never = {{0, 0}, {0, 0}};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }
  signal_storm(const signal_storm&) = delete;
  signal_storm& operator=(const signal_storm&) = delete;
  static volatile sig_atomic_t& arrived() {
    static volatile sig_atomic_t count = 0;
    return count;
  }

 private:
  struct sigaction before_;
};

#endif

}  // namespace kvrpc::test
