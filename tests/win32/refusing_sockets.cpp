// Replaces the socket library's start, which fails here, and the message box. Linked into a module
// of its own instead of the libraries that the module imports. Prints each call on standard output.
#include <winsock2.h>
// Must follow winsock2.h:
#include <windows.h>

#include <cstdio>

namespace {

const HWND active_window = reinterpret_cast<HWND>(0x1234);

int WINAPI refuse(WORD version, WSADATA*) {
  std::printf("start of version 0x%04x\n", version);
  std::fflush(stdout);
  WSASetLastError(WSAVERNOTSUPPORTED);
  return WSASYSNOTREADY;
}

HWND WINAPI give_active_window() { return active_window; }

int WINAPI show(HWND window, const char* text, const char* caption, UINT style) {
  std::printf("box over %s: text [%s] caption [%s] style %u\n",
              window == active_window ? "the active window" : "another window", text, caption,
              style);
  std::fflush(stdout);
  return IDOK;
}

}  // namespace

extern "C" {
extern const decltype(&refuse) start_sockets asm("__imp__WSAStartup@8");
extern const decltype(&give_active_window) window asm("__imp__GetActiveWindow@0");
extern const decltype(&show) box asm("__imp__MessageBoxA@16");

const decltype(&refuse) start_sockets = refuse;
const decltype(&give_active_window) window = give_active_window;
const decltype(&show) box = show;
}
