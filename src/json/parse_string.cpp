#include <cstring>

#include "json/parse.h"
#include "json/plain_text.h"

namespace kvrpc {

namespace {

// The '"' or the byte below 0x20 that ends the string whose bytes begin at `at`, when a `\u` is
// taken to have `hex_width` bytes behind it. Null when a backslash or its digits step over the
// text's NUL.
const char* string_end(const char* at, const char* end, int hex_width) {
  while (true) {
    at = json_plain_end(at, end);
    if (*at != '\\') return at;
    const int width = at[1] == 'u' ? 2 + hex_width : 2;
    if (end - at < width) return nullptr;
    at += width;
  }
}

// The string ends where copying it stops: a `\u` with fewer than four digits swallows what stands
// in their place, a closing quote too. But a backslash as the last byte fails the string also when
// only the count of its bytes, which knows no digits, comes upon it.
const char* copy_end(const char* at, const char* end) {
  at = json_plain_end(at, end);
  if (*at != '\\') return at;
  return string_end(at, end, 0) == nullptr ? nullptr : string_end(at, end, 4);
}

// One unit of 16 bits as UTF-8; halves of a surrogate pair stay apart.
char* put_utf8(char* out, std::uint32_t unit) {
  if (unit < 0x80) {
    *out++ = static_cast<char>(unit);
    return out;
  }
  if (unit < 0x800) {
    *out++ = static_cast<char>(0xC0 | unit >> 6);
  } else {
    *out++ = static_cast<char>(0xE0 | unit >> 12);
    *out++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
  }
  *out++ = static_cast<char>(0x80 | (unit & 0x3F));
  return out;
}

char unescaped(char byte) {
  switch (byte) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return byte;
  }
}

// Takes the bytes from `at` to `stop` apart; never more bytes than it reads.
char* copy_unescaped(char* out, const char* at, const char* stop) {
  while (true) {
    const char* plain = json_plain_end(at, stop);
    const auto count = static_cast<std::size_t>(plain - at);
    std::memcpy(out, at, count);
    out += count;
    if (plain == stop) return out;
    at = plain + 2;
    if (plain[1] == 'u') {
      std::uint32_t unit = 0;
      json_parse_hex4(at, &unit);
      out = put_utf8(out, unit);
      at += 4;
    } else {
      *out++ = unescaped(plain[1]);
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

const char* json_parse_string(json_node* node, const char* at, const char* end) {
  if (at == nullptr || *at != '"') return nullptr;
  ++at;
  const char* stop = copy_end(at, end);
  if (stop == nullptr) return nullptr;
  void* block = json_hooks().allocate(static_cast<std::size_t>(stop - at) + 1);
  if (block == nullptr) return nullptr;
  node->text = static_cast<char*>(block);
  *copy_unescaped(node->text, at, stop) = '\0';
  node->type = JSON_STRING;
  return *stop == '"' ? stop + 1 : stop;
}

}  // namespace kvrpc
