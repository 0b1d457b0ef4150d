// Finds a server's port in the environment. The map is split in place, as strtok would split it.
#include "rpc/port_lookup.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "rpc/clnt.h"
#include "rpc/decimal.h"
#include "rpc/environment.h"
#include "rpc/rpc_os.h"
#include "rpc/servers.h"

namespace kvrpc {

namespace {

std::uint16_t low_half(std::int32_t number) {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(number) & 0xFFFF);
}

// Reads a number of the environment. Returns false without memory, with the reason in
// rpc_createerr.
bool read_number(const char* name, std::int32_t* number) {
  if (environment_number(name, number)) return true;
  clnt_create_failed(RPC_SYSTEMERROR, ENOMEM);
  return false;
}

// Removes all blanks, and ends the text with two NUL bytes.
void remove_blanks(char* text) {
  char* end = text;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p != ' ') *end++ = *p;
  }
  end[0] = '\0';
  end[1] = '\0';
}

// Skips separators and returns the token that follows, or null at the end of the text. Moves the
// cursor past the character that ended the token, even if that is the text's NUL.
char* take_token(char** cursor, char separator) {
  char* token = *cursor;
  while (*token == separator) ++token;
  if (*token == '\0') return nullptr;
  char* end = token;
  while (*end != separator && *end != '\0') ++end;
  *end = '\0';
  *cursor = end + 1;
  return token;
}

// Returns the place of a character in the map, counted from 1.
int position(const char* map, const char* place) { return static_cast<int>(place - map) + 1; }

// Replaces the base port if the map has the host. `map` must have no blanks and must end with two
// NUL bytes, because the cursor may be past the first.
void walk_map(char* map, const char* host, std::uint16_t* base) {
  char* cursor = map;
  while (const char* name = take_token(&cursor, ':')) {
    const char* number = take_token(&cursor, ';');
    if (number == nullptr) {
      rpc_report("bad KORVEXRPCMAP: syntax error near character %d\n", position(map, cursor));
      return;
    }
    if (std::strcmp(name, host) != 0) continue;
    const char* end;
    const std::int32_t value = parse_decimal(number, &end);
    if (*end != '\0') {
      rpc_report("bad KORVEXRPCMAP: number expected near character %d\n", position(map, number));
    }
    *base = low_half(value);
    return;
  }
}

}  // namespace

std::int32_t port_slot(std::uint32_t program) {
  for (const server_entry& server : server_directory) {
    if (server.program == program) return server.slot;
  }
  return -1;
}

std::int32_t rpc_port_lookup(const char* host, std::uint32_t program, std::uint32_t) {
  std::int32_t number = 0;
  if (!read_number(variable::base_port, &number)) return -1;
  std::uint16_t base = low_half(number);
  const environment_text map(variable::port_map);
  if (map.failed()) {
    rpc_write_error("rpclib: out of memory\n");
    return base;
  }
  std::int32_t offset = 0;
  if (!read_number(variable::program_offset, &offset)) return -1;
  const std::int32_t slot = port_slot(program - static_cast<std::uint32_t>(offset));
  if (slot >= 0 && map.get() != nullptr) {
    remove_blanks(map.get());
    walk_map(map.get(), host, &base);
  }
  return base == 0 ? base : static_cast<std::uint16_t>(base + std::max(slot, 0));
}

}  // namespace kvrpc
