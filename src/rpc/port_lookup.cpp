#include "rpc/port_lookup.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "rpc/clnt.h"
#include "rpc/decimal.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t programs_by_slot[] = {
    16011967,    // alpha
    1481537,     // gamma
    1102104009,  // theta
    26011932,    // lambda
    302095104,   // nue
    16011931,    // omega
    9081975,     // sigma
};

std::uint16_t low_half(std::int32_t number) {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(number) & 0xFFFF);
}

// Reads a 32-bit number of the environment, 0 if the variable does not exist. Returns false without
// memory, with the reason in rpc_createerr.
bool read_number(const char* name, std::int32_t* number) {
  const environment_text value(name);
  if (value.failed()) return clnt_create_failed(RPC_SYSTEMERROR, ENOMEM) != nullptr;
  *number = value.get() == nullptr ? 0 : parse_decimal(value.get());
  return true;
}

void remove_blanks(char* text) {
  char* end = text;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p != ' ') *end++ = *p;
  }
  end[0] = '\0';
  end[1] = '\0';
}

// The token at `*cursor` behind leading separators, or null when the text ends first. The cursor
// then stands behind the character that ended the token, be it the text's NUL.
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

int position(const char* map, const char* place) { return static_cast<int>(place - map) + 1; }

// Looks for the host and replaces the base port. `map` has no blanks and ends in two NUL bytes,
// since the cursor may stand behind the first.
void walk_map(char* map, const char* host, std::uint16_t* base) {
  char* cursor = map;
  while (const char* name = take_token(&cursor, ':')) {
    const char* number = take_token(&cursor, ';');
    if (number == nullptr) {
      std::fprintf(stderr, "bad KORVEXRPCMAP: syntax error near character %d\n",
                   position(map, cursor));
      return;
    }
    if (std::strcmp(name, host) != 0) continue;
    const char* end;
    const std::int32_t value = parse_decimal(number, &end);
    if (*end != '\0') {
      std::fprintf(stderr, "bad KORVEXRPCMAP: number expected near character %d\n",
                   position(map, number));
    }
    *base = low_half(value);
    return;
  }
}

}  // namespace

int port_slot(std::uint32_t program) {
  int slot = 0;
  for (const std::uint32_t entry : programs_by_slot) {
    if (entry == program) return slot;
    ++slot;
  }
  return -1;
}

std::int32_t rpc_port_lookup(const char* host, std::uint32_t program, std::uint32_t) {
  std::int32_t number = 0;
  if (!read_number("KORVEXRPCPORT", &number)) return -1;
  std::uint16_t base = low_half(number);
  const environment_text map("KORVEXRPCMAP");
  if (map.failed()) {
    std::fputs("rpclib: out of memory\n", stderr);
    return base;
  }
  std::int32_t offset = 0;
  if (!read_number("KORVEXRPCOFFSET", &offset)) return -1;
  const int slot = port_slot(program - static_cast<std::uint32_t>(offset));
  if (slot >= 0 && map.get() != nullptr) {
    remove_blanks(map.get());
    walk_map(map.get(), host, &base);
  }
  return base == 0 ? base : static_cast<std::uint16_t>(base + std::max(slot, 0));
}

}  // namespace kvrpc
