// Record to JSON: the converters that read a field and give a value to a sink (see text_sink.h).
//
// Each returns 1 on success and 0 on failure, with no message but the fixed texts on standard
// error. With `raw_text` 0 a text crosses from the record's ISO code to UTF-8; otherwise its bytes
// pass as they stand. A fixed text is read to its NUL and so may run on into the fields behind it;
// it ends before the first pointer behind it, or with the record it lies in (see text_end.h).
//
// The functions are built for text_sink and tree_sink; decode.cpp has them.
#pragma once

#include <cstdint>
#include <type_traits>

#include "bridge/encode.h"
#include "bridge/field_memory.h"
#include "bridge/text_end.h"
#include "schema/types.h"

namespace kvrpc {

// ---- by table

// Converts a whole value of the given type: the record of a call, with all that hangs from it.
template <class Sink>
int json_decode(Sink& out, int raw_text, const void* data, const wire_type& type);
// Converts the members of a structure from `begin` up to `end`, none of them the link of a list.
// The texts among them may run on in `block`.
template <class Sink>
int json_decode_members(Sink& out, int raw_text, const record_block& block, const char* base,
                        const record_type& record, std::uint32_t begin, std::uint32_t end);

// ---- scalars

template <class Sink>
int json_decode_void(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_int(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_u_int(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_long(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_u_long(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_short(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_u_short(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_float(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_double(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_bool(Sink& out, int raw_text, const void* field);
// Only the low 16 bits of the field.
template <class Sink>
int json_decode_enum(Sink& out, int raw_text, const void* field);
// Refused, with a line on standard error.
template <class Sink>
int json_decode_char(Sink& out, int raw_text, const void* field);
template <class Sink>
int json_decode_u_char(Sink& out, int raw_text, const void* field);

// ---- texts and bytes; a null pointer is a failure, but for bytes

template <class Sink>
int json_decode_string(Sink& out, int raw_text, const void* field);
// `text` is the text itself; `end` bounds the search for its NUL.
template <class Sink>
int json_decode_counted_text(Sink& out, int raw_text, const char* text, const char* end);
template <class Sink>
int json_decode_text_block(Sink& out, int raw_text, const void* block);
template <class Sink>
int json_decode_fixed_text(Sink& out, int raw_text, const char* buffer, const char* end);
template <class Sink>
int json_decode_char_vector(Sink& out, int raw_text, const char* base, const char* end);
template <class Sink>
int json_decode_bytes(Sink& out, int raw_text, const void* block);
template <class Sink>
int json_decode_opaque(Sink& out, int raw_text, const void* buffer, std::uint32_t size);

// ---- composites; `elem(out, raw_text, field)` is the converter of one element

template <class Sink>
using json_decoder = int (*)(Sink& out, int raw_text, const void* field);

template <class Sink>
bool is_char_decoder(json_decoder<Sink> elem) {
  return elem == json_decode_char<Sink> || elem == json_decode_u_char<Sink>;
}

template <class Sink, class Elem>
int json_decode_elements(Sink& out, int raw_text, const char* base, std::uint32_t count,
                         std::uint32_t size, Elem elem) {
  if (!out.begin_array()) return 0;
  for (std::uint32_t i = 0; i < count; ++i, base += size) {
    if (!out.item() || !elem(out, raw_text, base)) return 0;
  }
  return out.end_array();
}

// An inline array of `count` elements; a text up to `end` when `elem` is a char converter.
template <class Sink, class Elem>
int json_decode_vector(Sink& out, int raw_text, const char* base, std::uint32_t count,
                       std::uint32_t size, Elem elem) {
  static_assert(!std::is_same<Elem, json_decoder<Sink>>::value, "it may be a char's: pass the end");
  return json_decode_elements(out, raw_text, base, count, size, elem);
}
template <class Sink>
int json_decode_vector(Sink& out, int raw_text, const char* base, std::uint32_t count,
                       std::uint32_t size, json_decoder<Sink> elem, const char* end) {
  return is_char_decoder<Sink>(elem) ? json_decode_char_vector(out, raw_text, base, end)
                                     : json_decode_elements(out, raw_text, base, count, size, elem);
}

// A counted array. A char element is warned of and then refused.
template <class Sink, class Elem>
int json_decode_array(Sink& out, int raw_text, const void* block, std::uint32_t size, Elem elem) {
  if constexpr (std::is_same<Elem, json_decoder<Sink>>::value) {
    if (is_char_decoder<Sink>(elem)) warn_of_char_array();
  }
  return json_decode_elements(out, raw_text, load_block_pointer(block), load_block_count(block),
                              size, elem);
}

template <class Sink, class Elem>
int json_decode_reference(Sink& out, int raw_text, const void* field, Elem elem) {
  return elem(out, raw_text, load<char*>(field));
}

// An optional target, null when there is none.
template <class Sink, class Elem>
int json_decode_pointer(Sink& out, int raw_text, const void* field, Elem elem) {
  if (load<char*>(field) == nullptr) return out.null();
  return json_decode_reference(out, raw_text, field, elem);
}

}  // namespace kvrpc
