// Strings with escapes. The end of a string is found by two scans, which differ after a `\u` with
// fewer than four digits (see json_string_end).
#include <cstring>

#include "base/plain_bytes.h"
#include "base/utf8.h"
#include "json/escapes.h"
#include "json/parse.h"

namespace kvrpc {

namespace {

// Returns the '"' or the byte below 0x20 that ends the string, if each `\u` is followed by
// `hex_width` bytes of digits. Returns null if a backslash or its digits step over the text's NUL.
const char* string_end(const char* at, const char* end, int hex_width) {
  while (true) {
    at = json_plain::find_end(at, end);
    if (*at != '\\') return at;
    const int width = at[1] == 'u' ? 2 + hex_width : 2;
    if (end - at < width) return nullptr;
    at += width;
  }
}

// Copies [at, stop) to `out`, resolving escapes. Never writes more bytes than it reads.
char* copy_unescaped(char* out, const char* at, const char* stop) {
  while (true) {
    const char* plain = json_plain::find_end(at, stop);
    const auto count = static_cast<std::size_t>(plain - at);
    std::memcpy(out, at, count);
    out += count;
    if (plain == stop) return out;
    at = plain + 2;
    if (plain[1] == 'u') {
      std::uint32_t unit = 0;
      json_parse_hex4(at, &unit);
      out = write_utf8(out, unit);
      at += 4;
    } else {
      *out++ = json_unescaped(plain[1]);
    }
  }
}

int hex_digit(char byte) {
  if (byte >= '0' && byte <= '9') return byte - '0';
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  return -1;
}

}  // namespace

const char* json_parse_hex4(const char* at, std::uint32_t* out) {
  *out = 0;
  for (int i = 0; i < 4 && hex_digit(*at) >= 0; ++i) {
    *out = *out << 4 | static_cast<std::uint32_t>(hex_digit(*at++));
  }
  return at;
}

// The string ends where copying it stops. A `\u` always swallows four bytes, even a closing quote
// in place of a digit. For example, "\u12"x" is one string. Before that, a first scan takes `\u`
// for an escape of two bytes. If this scan finds a backslash as the text's last byte, the string
// fails, even if the copy would have swallowed that backslash.
const char* json_string_end(const char* at, const char* end) {
  at = json_plain::find_end(at, end);
  if (*at != '\\') return at;
  return string_end(at, end, 0) == nullptr ? nullptr : string_end(at, end, 4);
}

void json_copy_string(char* out, const char* at, const char* stop) {
  *copy_unescaped(out, at, stop) = '\0';
}

}  // namespace kvrpc
