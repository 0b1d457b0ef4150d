// What rpc_os.cpp and the platform's source owe each other; nobody else includes this.
#pragma once

#include <cstdint>

namespace kvrpc {

// Platform: starts the socket layer, or ends the process after its message; and stops it.
void rpc_start_sockets();
void rpc_stop_sockets();

// Platform: starts to count forks, once for the life of the process. Returns 0, or an errno value.
int rpc_watch_forks();

// Writes a start-up failure on the standard error stream, followed by a line end, and ends the
// process with exit code 1.
[[noreturn]] void rpc_startup_failed(const char* text);

// Asks the interrupt hook. Returns true if the call must end: the hook wants it, or it forked and
// this process is the child, whose parent waits for the same reply.
bool rpc_interrupt_wanted();

// A wait asks the hook before it begins and again after so many microseconds: no signal interrupts
// Windows's sockets, and elsewhere one may come just before the wait.
constexpr std::int64_t hook_interval = 50000;

// POSIX: Winsock's number for an errno value.
std::int32_t rpc_winsock_number(std::int32_t error);
constexpr std::int32_t RPC_ESYSCALL = 10107;  // for an errno value that Winsock has no name for

}  // namespace kvrpc
