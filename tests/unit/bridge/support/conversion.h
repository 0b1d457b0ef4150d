// A value of a table's type on each of its roads: JSON text, record, XDR bytes, and back. For
// tests and fuzz targets; nothing here takes memory through malloc, which failing_heap counts.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "bridge/decode.h"
#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/result_stream.h"
#include "bridge/support/test_streams.h"
#include "bridge/text_sink.h"
#include "bridge/tree_sink.h"
#include "json/json.h"

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

// A zeroed value of `type` with a zero byte behind it, released at the end.
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

  // The XDR bytes.
  bool_t put(bytes* wire) {
    sink_stream stream(wire);
    return xdr_value(&stream.xdrs, data(), type_);
  }
  bool_t get(const bytes& wire, inline_mode mode = inline_mode::always) {
    source_stream stream(wire, mode);
    return xdr_value(&stream.xdrs, data(), type_);
  }

  // The JSON text, straight and by way of the tree; a failure gives a text that is no JSON. The
  // tree is the caller's, and null after a failure.
  std::string text(int raw_text = 0) {
    text_buffer buffer;
    text_sink sink(buffer);
    if (!json_decode(sink, raw_text, data(), type_) || buffer.failed()) return failure;
    return std::string(buffer.data(), buffer.size());
  }
  json_node* tree(int raw_text = 0) {
    tree_sink sink;
    return json_decode(sink, raw_text, data(), type_) ? sink.release() : nullptr;
  }
  std::string tree_text(int raw_text = 0) {
    json_node* root = tree(raw_text);
    char* printed = root != nullptr ? json_print(root) : nullptr;
    json_delete(root);
    if (printed == nullptr) return failure;
    std::string result = printed;
    std::free(printed);
    return result;
  }

  static constexpr const char* failure = "(does not convert)";

 private:
  wire_type type_;
  bytes block_;
};

// The JSON text of a result straight from its XDR bytes, as a reply has it; test_value::failure
// when it has no text, and an empty one when it cannot be read.
inline std::string streamed_text(const wire_type& type, const bytes& wire,
                                 inline_mode mode = inline_mode::always) {
  test_value value(type);
  source_stream stream(wire, mode);
  text_buffer text;
  if (!text.append("head", 4)) return test_value::failure;
  streamed_result result{{&type, value.data()}, text, 4};
  if (!xdr_streamed(&stream.xdrs, &result)) return "";
  return result.written ? std::string(text.data() + 4, text.size() - 4) : test_value::failure;
}

}  // namespace kvrpc::test
