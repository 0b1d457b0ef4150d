// Record to JSON, one field at a time: the counterparts of the encoders of encode.h, a surface for
// callers that hold a record. Replies do not use them, because result_reader.h never has a record.
// Both write single values with the same functions.
//
// Each appends the field's JSON text and returns 1, or returns 0 on failure: memory is out, a
// text's pointer is null, or the field is a single char. With `raw_text` 0 a text is converted from
// the record's ISO code to UTF-8; otherwise its bytes are copied.
#pragma once

#include <cstdint>

#include "bridge/encode.h"
#include "bridge/field_memory.h"
#include "json/text_buffer.h"

namespace kvrpc {

// ---- scalars

// Surface: for callers that hold a record.
int json_decode_void(text_buffer& out, int raw_text, const void* field);
int json_decode_int(text_buffer& out, int raw_text, const void* field);
int json_decode_u_int(text_buffer& out, int raw_text, const void* field);
inline constexpr auto json_decode_long = json_decode_int;
inline constexpr auto json_decode_u_long = json_decode_u_int;
int json_decode_short(text_buffer& out, int raw_text, const void* field);
int json_decode_u_short(text_buffer& out, int raw_text, const void* field);
int json_decode_float(text_buffer& out, int raw_text, const void* field);
int json_decode_double(text_buffer& out, int raw_text, const void* field);
int json_decode_bool(text_buffer& out, int raw_text, const void* field);
// Compatibility: reads the low 16 bits of its 32-bit field, though json_encode_enum stores all 32.
int json_decode_enum(text_buffer& out, int raw_text, const void* field);
// Fails, with a line on standard error, because no field is a single character.
int json_decode_char(text_buffer& out, int raw_text, const void* field);
inline constexpr auto json_decode_u_char = json_decode_char;

// ---- texts and bytes

// Surface: for callers that hold a record.
int json_decode_string(text_buffer& out, int raw_text, const void* field);
int json_decode_text_block(text_buffer& out, int raw_text, const void* block);
// `text` is the text itself. It ends at its NUL or, without one, at `end`.
int json_decode_counted_text(text_buffer& out, int raw_text, const char* text, const char* end);
inline constexpr auto json_decode_fixed_text = json_decode_counted_text;
inline constexpr auto json_decode_char_vector = json_decode_counted_text;
int json_decode_bytes(text_buffer& out, int raw_text, const void* block);
int json_decode_opaque(text_buffer& out, int raw_text, const void* buffer, std::uint32_t size);

// ---- composites; `elem(out, raw_text, field)` is the converter of one element

using json_decoder = int (*)(text_buffer& out, int raw_text, const void* field);

inline bool is_char_decoder(json_decoder elem) { return elem == json_decode_char; }

// Surface: for callers that hold a record.
// Appends a vector of `count` elements. If `elem` is a char converter, appends the text at `base`
// instead, which ends at its NUL or at `end`.
int json_decode_vector(text_buffer& out, int raw_text, const char* base, std::uint32_t count,
                       std::uint32_t size, json_decoder elem, const char* end);
// Appends a counted array. If `elem` is a char converter, warns on standard error and fails at the
// first element.
int json_decode_array(text_buffer& out, int raw_text, const void* block, std::uint32_t size,
                      json_decoder elem);
int json_decode_reference(text_buffer& out, int raw_text, const void* field, json_decoder elem);
// Appends an optional target, or `null` if there is none.
int json_decode_pointer(text_buffer& out, int raw_text, const void* field, json_decoder elem);

}  // namespace kvrpc
