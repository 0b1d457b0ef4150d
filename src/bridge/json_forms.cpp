// The table of json_forms.h, and the loop over the bytes of a text in memory. Texts that have one
// unit on the wire for each char are copied by wire_chars.h instead.
#include "bridge/json_forms.h"

#include "base/plain_bytes.h"
#include "bridge/uc2_code.h"
#include "json/escapes.h"

namespace kvrpc {

namespace {

constexpr json_form form_of(char byte) {
  json_form form{};
  const char letter = json_escape_letter(byte);
  if (letter != '\0') return {{'\\', letter, '\0'}, 2};
  if (static_cast<unsigned char>(byte) >= 0x20) form.size = uc2::encode_iso(byte, form.bytes);
  return form;
}

constexpr json_form_table make_forms() {
  json_form_table table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) table.form[byte] = form_of(uc2::as_char(byte));
  return table;
}

}  // namespace

constexpr json_form_table json_forms = make_forms();

char* write_escaped(char* place, const char*& bytes, const char* end) {
  while (true) {
    const char* const plain = ascii_plain::copy(place, bytes, end);
    place += plain - bytes;
    bytes = plain;
    if (bytes == end || *bytes == '\0') return place;
    place = write_form(place, *bytes++);
  }
}

}  // namespace kvrpc
