// JSON to record: the encoders, each of which reads a node and fills a field.
//
// Each returns 1 on success and 0 on failure. None writes a message, except three fixed texts on
// standard error. A node must have exactly the type of its field. The range of a number is not
// checked: a number that is too large loses its high bits. For example, 65537 stores 1 in a short.
//
// If `raw_text` is 0, the text of a string node is UTF-8 and is converted to the record's ISO code,
// with a "?" for each character that the code lacks. Otherwise its bytes are copied as they are.
//
// What an encoder allocates belongs to the record and is released with record_free, even if a later
// field fails. A field that is filled twice keeps the later value and releases the earlier one. The
// encoders of counted arrays and pointers do not know what an earlier value owns, so json_encode
// releases it before it calls them.
#pragma once

#include <cstdint>

#include "bridge/field_memory.h"
#include "json/json.h"
#include "schema/types.h"

namespace kvrpc {

// ---- by table

// Fills a field of the given type. This is the one place that knows which encoder serves which
// type.
int json_encode(const json_node* node, int raw_text, void* field, const wire_type& type);
// Fills a structure, a union, or the first node of a list and all nodes after it.
int json_encode_record(const json_node* node, int raw_text, void* base, const record_type& record);

// ---- scalars

// Types with the same bits share a function.
//
// Surface: the interface has no float, double, enum, u_int or u_short.
int json_encode_void(const json_node* node, int raw_text, void* field);
int json_encode_int(const json_node* node, int raw_text, void* field);    // int32_t
int json_encode_u_int(const json_node* node, int raw_text, void* field);  // uint32_t
inline constexpr auto json_encode_long = json_encode_int;
inline constexpr auto json_encode_u_long = json_encode_u_int;
int json_encode_short(const json_node* node, int raw_text, void* field);    // int16_t
int json_encode_u_short(const json_node* node, int raw_text, void* field);  // uint16_t
int json_encode_float(const json_node* node, int raw_text, void* field);    // float
int json_encode_double(const json_node* node, int raw_text, void* field);   // double
int json_encode_bool(const json_node* node, int raw_text, void* field);     // int32_t, 0 or 1
inline constexpr auto json_encode_enum = json_encode_int;

// Fails, with a line on standard error, because no field is a single character. Exists so that
// json_encode_vector can recognise it by its address and fill the whole vector from a text.
int json_encode_char(const json_node* node, int raw_text, void* field);
inline constexpr auto json_encode_u_char = json_encode_char;

// ---- texts and bytes. `block` is a 32-bit count and a pointer.
//
// A text may take `cap` bytes with its NUL; a longer one is truncated. Only json_encode_string then
// puts a NUL in the last byte. json_encode_opaque fails unless it decodes exactly `size` bytes.

int json_encode_string(const json_node* node, int raw_text, void* field, std::uint32_t cap);
int json_encode_counted_text(const json_node* node, int raw_text, void* block, std::uint32_t cap);
int json_encode_text_block(const json_node* node, int raw_text, void* block);
int json_encode_fixed_text(const json_node* node, int raw_text, char* buffer, std::uint32_t cap);
int json_encode_char_vector(const json_node* node, int raw_text, char* base, std::uint32_t count);
int json_encode_bytes(const json_node* node, int raw_text, void* block);
int json_encode_opaque(const json_node* node, int raw_text, char* buffer, std::uint32_t size);

// ---- composites. `elem(node, raw_text, field)` is the encoder of one element.

using json_encoder = int (*)(const json_node* node, int raw_text, void* field);

inline bool is_char_encoder(json_encoder elem) { return elem == json_encode_char; }
template <class Elem>
bool is_char_encoder(const Elem&) {
  return false;
}

void warn_of_char_array();

// Fills `count` elements of `size` bytes each. The node must be an array of exactly `count`
// elements. If `elem` is a char encoder, fills the whole vector from a text instead.
template <class Elem>
int json_encode_vector(const json_node* node, int raw_text, char* base, std::uint32_t count,
                       std::uint32_t size, Elem elem) {
  if (is_char_encoder(elem)) return json_encode_char_vector(node, raw_text, base, count);
  if (node->type != JSON_ARRAY || json_child_count(node) != count) return 0;
  for (const json_node* child = node->child; child != nullptr; child = child->next) {
    if (!elem(child, raw_text, base)) return 0;
    base += size;
  }
  return 1;
}

// Fills a counted array. If an element fails, the record still owns the array and the elements
// before that one. Warns on standard error if `elem` is a char encoder.
template <class Elem>
int json_encode_array(const json_node* node, int raw_text, void* block, std::uint32_t maximum,
                      std::uint32_t size, Elem elem) {
  if (is_char_encoder(elem)) warn_of_char_array();
  if (node->type != JSON_ARRAY) return 0;
  const std::uint32_t count = json_child_count(node);
  if (count > maximum) return 0;
  char* element = new_block(std::uint64_t{count} * size);
  if (element == nullptr) return 0;
  store_block(block, count, element);
  for (const json_node* child = node->child; child != nullptr; child = child->next) {
    if (!elem(child, raw_text, element)) return 0;
    element += size;
  }
  return 1;
}

// Allocates a target of `size` bytes, stores its address in `field` and fills it.
template <class Elem>
int json_encode_reference(const json_node* node, int raw_text, void* field, std::uint32_t size,
                          Elem elem) {
  char* target = new_block(size);
  if (target == nullptr) return 0;
  store(field, target);
  return elem(node, raw_text, target);
}

// The same for an optional target. A null node leaves the field as it was.
template <class Elem>
int json_encode_pointer(const json_node* node, int raw_text, void* field, std::uint32_t size,
                        Elem elem) {
  if (node->type == JSON_NULL) return 1;
  return json_encode_reference(node, raw_text, field, size, elem);
}

}  // namespace kvrpc
