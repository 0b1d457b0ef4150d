// Converts a value of a table's type between its forms: JSON text, record and XDR bytes. For tests
// and fuzz targets. Nothing here allocates with malloc, because failing_heap counts that.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/reference/read_value.h"
#include "bridge/reference/value_tree.h"
#include "bridge/result_reader.h"
#include "bridge/support/test_streams.h"
#include "json/json.h"
#include "support/exact_memory.h"

namespace kvrpc::test {

// A parsed text.
class json_value {
 public:
  explicit json_value(const std::string& text) : root_(json_parse(text.c_str())) {}
  ~json_value() { json_delete(root_); }
  json_value(const json_value&) = delete;
  json_value& operator=(const json_value&) = delete;

  const json_node* node() const { return root_; }

 private:
  json_node* root_;
};

constexpr const char* no_text = "(does not convert)";

// Returns the JSON text of a result from its XDR bytes as a reply has it: no_text if it has none,
// and an empty text if it cannot be read.
inline std::string reply_text(const wire_type& type, const bytes& wire,
                              inline_mode mode = inline_mode::always) {
  source_stream stream(wire, mode);
  text_buffer text(exact_memory);
  if (!text.append("head", 4)) return no_text;
  result_text result{type, text, 4};
  if (!xdr_result(&stream.xdrs, &result)) return "";
  return result.written ? std::string(text.data() + 4, text.size() - 4) : no_text;
}

// A zeroed value of `type` with a zero byte after it, released at the end.
class test_value {
 public:
  explicit test_value(const wire_type& type) : type_(type), block_(type.size + 1) {}
  ~test_value() { release(); }
  test_value(const test_value&) = delete;
  test_value& operator=(const test_value&) = delete;

  char* data() { return block_.data(); }
  const wire_type& type() const { return type_; }
  void release() { record_free(type_, data()); }

  int encode(const json_node* node, int raw_text = 0) {
    return json_encode(node, raw_text, data(), type_);
  }
  int encode(const std::string& text) {
    const json_value value(text);
    return value.node() != nullptr && encode(value.node());
  }

  // The XDR bytes: `get` reads them with the reference.
  bool_t put(bytes* wire) {
    sink_stream stream(wire);
    return xdr_value(&stream.xdrs, data(), type_);
  }
  bool_t get(const bytes& wire, inline_mode mode = inline_mode::always) {
    source_stream stream(wire, mode);
    return read_value(&stream.xdrs, data(), type_);
  }

  // The JSON text by the reference, or no_text.
  std::string text(int raw_text = 0) {
    json_node* const root = value_tree(data(), type_, raw_text);
    char* const printed = root != nullptr ? json_print(root) : nullptr;
    json_delete(root);
    if (printed == nullptr) return no_text;
    std::string result = printed;
    std::free(printed);
    return result;
  }
  // The JSON text that a reply has for this value's XDR bytes.
  std::string reply(inline_mode mode = inline_mode::always) {
    bytes wire;
    return put(&wire) ? reply_text(type_, wire, mode) : no_text;
  }

 private:
  wire_type type_;
  bytes block_;
};

}  // namespace kvrpc::test
