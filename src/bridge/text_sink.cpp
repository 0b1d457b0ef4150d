#include "bridge/text_sink.h"

#include "bridge/base64.h"
#include "bridge/json_forms.h"
#include "bridge/uc2.h"

namespace kvrpc {

namespace {

struct json_form_table {
  json_form forms[256];
};

char escape_letter(std::uint8_t byte) {
  switch (byte) {
    case '"':
      return '"';
    case '\\':
      return '\\';
    case '\b':
      return 'b';
    case '\t':
      return 't';
    case '\n':
      return 'n';
    case '\f':
      return 'f';
    case '\r':
      return 'r';
    default:
      return '\0';
  }
}

json_form form_of(std::uint8_t byte) {
  const char letter = escape_letter(byte);
  if (letter != '\0') return {{'\\', letter, '\0'}, 2};
  if (byte < 0x20) return {{'\0', '\0', '\0'}, 0};
  const utf8_form& utf8 = iso_utf8[byte];
  return {{utf8.bytes[0], utf8.bytes[1], utf8.bytes[2]}, utf8.size};
}

json_form_table make_json_forms() {
  json_form_table table;
  for (unsigned byte = 0; byte < 256; ++byte)
    table.forms[byte] = form_of(static_cast<std::uint8_t>(byte));
  return table;
}

char* write_forms(char* place, const char* bytes, std::size_t size) {
  const json_form* forms = json_forms();
  for (std::size_t i = 0; i < size; ++i) {
    place = write_form(place, forms[static_cast<unsigned char>(bytes[i])]);
  }
  return place;
}

}  // namespace

const json_form* json_forms() {
  static const json_form_table table = make_json_forms();
  return table.forms;
}

int text_sink::number(double value) {
  json_node node{};
  node.type = JSON_NUMBER;
  node.number = value;
  return json_write(out_, &node);
}

int text_sink::iso_text(const char* bytes, std::size_t size) {
  if (size > (SIZE_MAX - 8) / 3) return 0;
  char* const start = out_.reserve(3 * size + 8);
  if (start == nullptr) return 0;
  char* place = start;
  *place++ = '"';
  for (; size >= 8; bytes += 8, size -= 8) {
    const std::uint64_t word = load_word(bytes);
    if (plain_bytes(word) == 8) {
      store_word(place, word);
      place += 8;
    } else {
      place = write_forms(place, bytes, 8);
    }
  }
  place = write_forms(place, bytes, size);
  *place++ = '"';
  out_.commit(static_cast<std::size_t>(place - start));
  return 1;
}

int text_sink::base64(const void* bytes, std::size_t size) {
  if (size > SIZE_MAX / 2 - 8) return 0;
  const std::size_t text_size = base64_text_size(size);
  char* const start = out_.reserve(text_size + 2);
  if (start == nullptr) return 0;
  *start = '"';
  char* end = base64_encode_to(start + 1, bytes, size);
  *end++ = '"';
  out_.commit(static_cast<std::size_t>(end - start));
  return 1;
}

}  // namespace kvrpc
