// The table of json_forms.h, and the loop over the bytes of a text in memory. Texts that have one
// unit on the wire for each char are copied by wire_chars.h instead.
#include "bridge/json_forms.h"

#include "base/plain_bytes.h"
#include "bridge/uc2_code.h"

namespace kvrpc {

namespace {

constexpr char escape_letter(int byte) {
  constexpr char escaped[][2] = {{'"', '"'},  {'\\', '\\'}, {'\b', 'b'}, {'\t', 't'},
                                 {'\n', 'n'}, {'\f', 'f'},  {'\r', 'r'}};
  for (const auto& [character, letter] : escaped) {
    if (character == byte) return letter;
  }
  return '\0';
}

constexpr json_form form_of(int byte) {
  json_form form{};
  if (escape_letter(byte) != '\0') return {{'\\', escape_letter(byte), '\0'}, 2};
  if (byte >= 0x20) form.size = uc2::encode_iso(byte, form.bytes);
  return form;
}

constexpr json_form_table make_forms() {
  json_form_table table{};
  for (int byte = 0; byte < 256; ++byte) table.form[byte] = form_of(byte);
  return table;
}

}  // namespace

constexpr json_form_table json_forms = make_forms();

char* write_escaped(char* place, const char* bytes, std::size_t size) {
  const char* const end = bytes + size;
  while (end - bytes >= 8) {
    const std::uint64_t word = load_word(bytes);
    store_word(place, word);
    const std::uint32_t plain = ascii_plain::count(word);
    place += plain;
    bytes += plain;
    if (plain < 8) place = write_form(place, *bytes++);
  }
  while (bytes != end) place = write_form(place, *bytes++);
  return place;
}

}  // namespace kvrpc
