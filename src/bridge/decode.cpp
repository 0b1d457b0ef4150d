// The converters of single fields, each a thin function over a writer that the reader of results
// uses as well.
#include "bridge/decode.h"

#include "bridge/value_text.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

template <class Integer>
int integer(text_buffer& out, const void* field) {
  return json_write_integer(out, load<Integer>(field));
}

int number(text_buffer& out, double value) {
  json_node node{};
  node.type = JSON_NUMBER;
  node.number = value;
  return json_write(out, &node);
}

int decode_text(text_buffer& out, int raw_text, const char* text, std::size_t size) {
  if (raw_text != 0) return json_write_text(out, text, size);
  if (size >= SIZE_MAX / escaped_room(1) - 1) return 0;
  char* const place = out.reserve(escaped_room(size) + 2);
  if (place == nullptr) return 0;
  *place = '"';
  char* const end = write_escaped(place + 1, text, text + size);
  *end = '"';
  out.commit_to(end + 1);
  return 1;
}

int decode_text(text_buffer& out, int raw_text, const char* text) {
  return text != nullptr ? decode_text(out, raw_text, text, std::strlen(text)) : 0;
}

int decode_base64(text_buffer& out, const char* bytes, std::uint32_t size) {
  char* const place = out.reserve(base64_text_size(size) + 2);
  if (place == nullptr) return 0;
  out.commit_to(write_base64(place, bytes, size));
  return 1;
}

int decode_elements(text_buffer& out, int raw_text, const char* base, std::uint32_t count,
                    std::uint32_t size, json_decoder elem) {
  out.append('[');
  for (std::uint32_t i = 0; i < count; ++i, base += size) {
    if (i > 0) out.append(", ", 2);
    if (!elem(out, raw_text, base)) return 0;
  }
  return out.append(']');
}

}  // namespace

int json_decode_void(text_buffer& out, int, const void*) { return out.append("null", 4); }
int json_decode_int(text_buffer& out, int, const void* f) { return integer<std::int32_t>(out, f); }
int json_decode_u_int(text_buffer& out, int, const void* f) {
  return integer<std::uint32_t>(out, f);
}
int json_decode_short(text_buffer& out, int, const void* f) {
  return integer<std::int16_t>(out, f);
}
int json_decode_u_short(text_buffer& out, int, const void* f) {
  return integer<std::uint16_t>(out, f);
}
int json_decode_enum(text_buffer& out, int, const void* field) {
  return json_write_integer(out, static_cast<std::int16_t>(load<std::uint32_t>(field)));
}
int json_decode_float(text_buffer& out, int, const void* field) {
  return number(out, static_cast<double>(load<float>(field)));
}
int json_decode_double(text_buffer& out, int, const void* field) {
  return number(out, load<double>(field));
}
int json_decode_bool(text_buffer& out, int, const void* field) {
  return load<std::int32_t>(field) != 0 ? out.append("true", 4) : out.append("false", 5);
}

int json_decode_char(text_buffer&, int, const void*) {
  rpc_write_error("error:  <future feature> json_decode_char called.\n");
  return 0;
}
int json_decode_string(text_buffer& out, int raw_text, const void* field) {
  return decode_text(out, raw_text, load<char*>(field));
}
int json_decode_text_block(text_buffer& out, int raw_text, const void* block) {
  return decode_text(out, raw_text, load_block_pointer(block));
}
int json_decode_counted_text(text_buffer& out, int raw_text, const char* text, const char* end) {
  if (text == nullptr) return 0;
  return decode_text(out, raw_text, text, strnlen(text, static_cast<std::size_t>(end - text)));
}
int json_decode_bytes(text_buffer& out, int, const void* block) {
  return decode_base64(out, load_block_pointer(block), load_block_count(block));
}
int json_decode_opaque(text_buffer& out, int, const void* buffer, std::uint32_t size) {
  return decode_base64(out, static_cast<const char*>(buffer), size);
}

int json_decode_vector(text_buffer& out, int raw_text, const char* base, std::uint32_t count,
                       std::uint32_t size, json_decoder elem, const char* end) {
  return is_char_decoder(elem) ? json_decode_char_vector(out, raw_text, base, end)
                               : decode_elements(out, raw_text, base, count, size, elem);
}
int json_decode_array(text_buffer& out, int raw_text, const void* block, std::uint32_t size,
                      json_decoder elem) {
  if (is_char_decoder(elem)) warn_of_char_array();
  return decode_elements(out, raw_text, load_block_pointer(block), load_block_count(block), size,
                         elem);
}
int json_decode_reference(text_buffer& out, int raw_text, const void* field, json_decoder elem) {
  return elem(out, raw_text, load<char*>(field));
}
int json_decode_pointer(text_buffer& out, int raw_text, const void* field, json_decoder elem) {
  if (load<char*>(field) == nullptr) return json_decode_void(out, raw_text, field);
  return json_decode_reference(out, raw_text, field, elem);
}

}  // namespace kvrpc
