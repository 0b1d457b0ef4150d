// What the fuzz targets run on each input, so that the unit tests replay their corpora through the
// same code. Each returns null, or what a wrong result was.
#pragma once

#include <string>

#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"

namespace kvrpc::test {

inline const wire_type& shape_type(unsigned char number) {
  return test_shapes[number % (sizeof test_shapes / sizeof *test_shapes)].type;
}

// bytes -> record -> bytes is stable however the stream is read, and the reader and the reference
// give the same text. A record without bytes (a union that was never set) has no text either.
inline const char* check_written(test_value& value) {
  bytes once;
  if (!value.put(&once)) {
    return value.text() == no_text ? nullptr : "a record with a text does not encode";
  }
  test_value again(value.type());
  bytes twice;
  if (!again.get(once, inline_mode::sometimes)) return "own bytes do not decode";
  if (!again.put(&twice) || once != twice) return "own bytes change";
  return again.text() == again.reply() ? nullptr : "the reader's text is not the reference's";
}

// The first byte selects the type. A JSON text follows.
inline const char* fuzz_records_json(const char* input, std::size_t size) {
  if (size == 0) return nullptr;
  const json_value json(std::string(input + 1, size - 1));
  if (json.node() == nullptr) return nullptr;
  test_value value(shape_type(static_cast<unsigned char>(input[0])));
  return value.encode(json.node()) ? check_written(value) : nullptr;
}

// The first byte selects the type. XDR bytes follow.
inline const char* fuzz_records_xdr(const char* input, std::size_t size) {
  if (size == 0) return nullptr;
  const bytes wire(input + 1, input + size);
  const wire_type& type = shape_type(static_cast<unsigned char>(input[0]));
  test_value value(type);
  const bool_t done = value.get(wire);
  for (inline_mode mode : {inline_mode::always, inline_mode::never, inline_mode::sometimes}) {
    if (reply_text(type, wire, mode) != (done ? value.text() : "")) {
      return "the reader's text is not the reference's";
    }
  }
  return done ? check_written(value) : nullptr;
}

}  // namespace kvrpc::test
