// Where a converted record goes as JSON text: the sink of every reply.
//
// A sink takes one value after the other, in the order of the text, and keeps the punctuation. It
// has these operations, each 1 on success and 0 when memory is out:
//
//   null, boolean, integer, number       scalars
//   iso_text                             a text in the record's ISO code
//   plain_text                           a text that is UTF-8 already
//   base64                               bytes
//   begin_object, key, end_object        a key stands before each member's value
//   begin_array, item, end_array         an item mark stands before each element
//
// text_sink appends to the caller's buffer exactly what printing the tree of tree_sink gives.
#pragma once

#include <cstddef>
#include <cstdint>

#include "json/text_buffer.h"
#include "schema/types.h"

namespace kvrpc {

class text_sink {
 public:
  explicit text_sink(text_buffer& out) : out_(out) {}

  int null() { return out_.append("null", 4); }
  int boolean(bool value) { return value ? out_.append("true", 4) : out_.append("false", 5); }
  int integer(std::int64_t value) { return json_write_integer(out_, value); }
  int number(double value);
  int iso_text(const char* bytes, std::size_t size);
  int plain_text(const char* bytes, std::size_t size) { return json_write_text(out_, bytes, size); }
  int base64(const void* bytes, std::size_t size);

  int begin_object() { return begin('{'); }
  int key(const record_field& field) {
    const std::size_t skipped = first_ ? 1 : 0;
    first_ = false;
    return out_.append(field.label + skipped, field.label_size - skipped);
  }
  int key(const char* name, std::size_t size) {
    const bool separate = !first_;
    first_ = false;
    return (!separate || out_.append(',')) && out_.append('"') && out_.append(name, size) &&
           out_.append("\":", 2);
  }
  // Writes the members from `begin` up to `end` (at least one, and all of them plain: see
  // plain_text_room) from the `size` bytes of their wire form. False, with nothing written, when a
  // text of them has no NUL or memory is out.
  bool wire_members(const char* wire, std::uint32_t size, const record_type& record,
                    std::uint32_t begin, std::uint32_t end);
  int end_object() { return end('}'); }

  int begin_array() { return begin('['); }
  int item() {
    const bool separate = !first_;
    first_ = false;
    return separate ? out_.append(", ", 2) : 1;
  }
  int end_array() { return end(']'); }

 private:
  int begin(char bracket) {
    first_ = true;
    return out_.append(bracket);
  }
  int end(char bracket) {
    first_ = false;
    return out_.append(bracket);
  }

  text_buffer& out_;
  bool first_ = true;  // whether the open container is still empty
};

}  // namespace kvrpc
