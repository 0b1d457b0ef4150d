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

// Both sinks give the same text; bytes -> record -> bytes is stable however the stream is read. A
// record without bytes (a union that was never set) has no text either.
inline const char* check_decoded(test_value& value) {
  if (value.text() != value.tree_text()) return "the sinks differ";
  bytes once;
  if (!value.put(&once)) {
    return value.text() == test_value::failure ? nullptr : "a record with a text does not encode";
  }
  test_value again(value.type());
  bytes twice;
  if (!again.get(once, inline_mode::sometimes)) return "own bytes do not decode";
  if (!again.put(&twice) || once != twice) return "own bytes change";
  return nullptr;
}

// Type by the first byte, then a JSON text.
inline const char* fuzz_records_json(const char* input, std::size_t size) {
  if (size == 0) return nullptr;
  const json_value json(std::string(input + 1, size - 1));
  if (json.node() == nullptr) return nullptr;
  test_value value(shape_type(static_cast<unsigned char>(input[0])));
  return value.encode(json.node()) ? check_decoded(value) : nullptr;
}

// Type by the first byte, then XDR bytes.
inline const char* fuzz_records_xdr(const char* input, std::size_t size) {
  if (size == 0) return nullptr;
  const bytes wire(input + 1, input + size);
  const wire_type& type = shape_type(static_cast<unsigned char>(input[0]));
  test_value value(type);
  test_value unit_by_unit(type);
  const bool_t done = value.get(wire, inline_mode::always);
  if (unit_by_unit.get(wire, inline_mode::never) != done) return "in-place reading differs";
  for (inline_mode mode : {inline_mode::always, inline_mode::never, inline_mode::sometimes}) {
    const std::string expected = done ? value.text() : "";
    if (streamed_text(type, wire, mode) != expected) return "straight to text differs";
  }
  if (!done) return nullptr;
  if (value.text() != unit_by_unit.text()) return "in-place reading gives another record";
  return check_decoded(value);
}

}  // namespace kvrpc::test
