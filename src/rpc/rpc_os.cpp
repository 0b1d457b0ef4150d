// What both platforms share: start-up, the interrupt hook, the order of a port's bytes.
#include "rpc/rpc_os.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rpc/rpc_os_platform.h"

namespace kvrpc {

namespace {

bool rpc_started = false;
rpc_lock_record* rpc_resolver_lock = nullptr;
rpc_lock_record* rpc_spare_lock = nullptr;  // never taken
int (*interrupt_hook)() = nullptr;

[[noreturn]] void startup_call_failed(const char* function, int error) {
  char text[64];
  std::snprintf(text, sizeof text, "%s() failed, error = %d\n", function, error);
  rpc_startup_failed(text);
}

rpc_lock_record* startup_lock() {
  rpc_lock_record* lock = rpc_create_lock();
  if (lock == nullptr) startup_call_failed("rpc_create_lock", errno);
  return lock;
}

}  // namespace

void rpc_startup_failed(const char* text) {
  rpc_report("%s\n", text);
  std::exit(1);
}

void rpc_startup() {
  if (rpc_started) return;
  rpc_started = true;
  rpc_start_sockets();
  rpc_resolver_lock = startup_lock();
  rpc_spare_lock = startup_lock();
  const int error = rpc_watch_forks();
  if (error != 0) startup_call_failed("rpc_watch_forks", error);
}

void rpc_shutdown() {
  if (!rpc_started) return;
  rpc_started = false;
  rpc_destroy_lock(rpc_resolver_lock);
  rpc_destroy_lock(rpc_spare_lock);
  rpc_resolver_lock = nullptr;
  rpc_spare_lock = nullptr;
  rpc_stop_sockets();
}

void rpc_resolver_enter() {
  if (rpc_resolver_lock != nullptr) rpc_lock(rpc_resolver_lock);
}

void rpc_resolver_leave() {
  if (rpc_resolver_lock != nullptr) rpc_unlock(rpc_resolver_lock);
}

std::uint16_t rpc_network_order(std::uint16_t port) {
  const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(port >> 8),
                                 static_cast<std::uint8_t>(port & 0xFF)};
  std::uint16_t ordered;
  std::memcpy(&ordered, bytes, sizeof ordered);
  return ordered;
}

void rpc_report(const char* format, ...) {
  char text[256];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  rpc_write_error(text);
}

void rpc_set_interrupt_hook(int (*hook)()) { interrupt_hook = hook; }

bool rpc_interrupt_wanted() {
  if (interrupt_hook == nullptr) return false;
  const std::uint32_t forks = rpc_fork_count();
  return interrupt_hook() != 0 || rpc_fork_count() != forks;
}

environment_text::environment_text(const char* name)
    : text_(rpc_environment(name)), failed_(text_ == nullptr && errno == ENOMEM) {}

environment_text::~environment_text() { std::free(text_); }

}  // namespace kvrpc
