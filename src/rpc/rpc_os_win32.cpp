// Locks, names, the environment, messages and the clock on Windows. Only Winsock 1.1 is used, which
// windows.h includes.
#include <windows.h>
#undef TRUE
#undef FALSE

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

struct rpc_lock_record {
  CRITICAL_SECTION section;
};

namespace {

std::int64_t performance_counter(BOOL(WINAPI* read)(LARGE_INTEGER*)) {
  LARGE_INTEGER value;
  read(&value);
  return value.QuadPart;
}

}  // namespace

// Windows has no fork.
int rpc_watch_forks() { return 0; }
std::uint32_t rpc_fork_count() { return 0; }

rpc_lock_record* rpc_create_lock() {
  auto* lock = static_cast<rpc_lock_record*>(std::calloc(1, sizeof(rpc_lock_record)));
  if (lock != nullptr) InitializeCriticalSection(&lock->section);
  return lock;
}

void rpc_destroy_lock(rpc_lock_record* lock) {
  DeleteCriticalSection(&lock->section);
  std::free(lock);
}

void rpc_lock(rpc_lock_record* lock) { EnterCriticalSection(&lock->section); }
void rpc_unlock(rpc_lock_record* lock) { LeaveCriticalSection(&lock->section); }

std::int32_t rpc_resolve(const char* host, rpc_address* address, std::int32_t* number) {
  return rpc_first_address(gethostbyname(host), address, number);
}

std::int32_t rpc_protocol_number(const char* name) {
  const protoent* protocol = getprotobyname(name);
  return protocol == nullptr ? -1 : protocol->p_proto;
}

// Reads the process's environment and not the C runtime's, because the interpreter may use another
// runtime. Starts again if the variable changes between the query for its size and the copy.
char* rpc_environment(const char* name) {
  char* copy = nullptr;
  DWORD capacity = 0;
  for (;;) {
    SetLastError(ERROR_SUCCESS);
    const DWORD needed = GetEnvironmentVariableA(name, copy, capacity);
    if (needed == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) break;
    if (copy != nullptr && needed < capacity) {
      std::memset(copy + needed, 0, 2);
      return copy;
    }
    std::free(copy);
    capacity = needed + 1;
    copy = static_cast<char*>(std::malloc(capacity + 1));
    if (copy == nullptr) {
      errno = ENOMEM;
      return nullptr;
    }
  }
  std::free(copy);
  errno = 0;
  return nullptr;
}

// Does not use this C runtime's stderr, because that keeps the handle that it had at its start.
// os.dup2 in the interpreter's runtime closes this handle, and its number may become another
// file's. Both runtimes store the new handle in STD_ERROR_HANDLE. Line ends are those of a text
// stream.
void rpc_write_error(const char* text) {
  const DWORD error = GetLastError();  // also the last socket error
  const HANDLE stream = GetStdHandle(STD_ERROR_HANDLE);
  DWORD written;
  while (*text != '\0') {
    const std::size_t length = std::strcspn(text, "\n");
    WriteFile(stream, text, static_cast<DWORD>(length), &written, nullptr);
    text += length;
    if (*text == '\0') break;
    WriteFile(stream, "\r\n", 2, &written, nullptr);
    ++text;
  }
  SetLastError(error);
}

// A stack is one allocation, of which only the upper part is committed.
bool rpc_stack_is_low() {
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  const auto high =
      reinterpret_cast<std::uintptr_t>(reinterpret_cast<const NT_TIB*>(NtCurrentTeb())->StackBase);
  MEMORY_BASIC_INFORMATION page;
  if (VirtualQuery(reinterpret_cast<void*>(here), &page, sizeof page) == 0) return false;
  return rpc_is_low_in({reinterpret_cast<std::uintptr_t>(page.AllocationBase), high}, here);
}

std::uint32_t rpc_process_id() { return GetCurrentProcessId(); }
std::uint32_t rpc_time_seconds() { return static_cast<std::uint32_t>(std::time(nullptr)); }

std::int64_t rpc_clock() {
  static const std::int64_t frequency = performance_counter(QueryPerformanceFrequency);
  const std::int64_t count = performance_counter(QueryPerformanceCounter);
  return count / frequency * 1000000 + count % frequency * 1000000 / frequency;
}

}  // namespace kvrpc
