// Runs a piece of a test in a thread with a stack of 512 KiB.
#pragma once

#include <pthread.h>

namespace kvrpc::test {

template <class Body>
void run_on_small_stack(Body body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 512 * 1024);
  pthread_t thread;
  const auto entry = [](void* argument) -> void* {
    (*static_cast<Body*>(argument))();
    return nullptr;
  };
  const int failed = pthread_create(&thread, &attributes, entry, &body);
  pthread_attr_destroy(&attributes);
  ASSERT_EQ(failed, 0);
  pthread_join(thread, nullptr);
}

}  // namespace kvrpc::test
