// Describes trees, and parses texts from copies that the sanitizers watch.
#include "json_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "json/document.h"

namespace kvrpc::test {

namespace {

std::string quoted(const char* text) {
  std::string out = "'";
  for (; *text != '\0'; ++text) {
    const auto byte = static_cast<unsigned char>(*text);
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned>(byte));
    if (byte < 0x20 || byte > 0x7E || byte == '\'' || byte == '\\') {
      out += hex;
    } else {
      out += *text;
    }
  }
  return out + "'";
}

std::string describe_number(const json_node& node) {
  if (node.is_integer == 1) {
    const bool both = node.number == static_cast<double>(node.integer);
    return std::to_string(node.integer) + (both ? "" : "!");
  }
  char out[32];
  const std::uint64_t bits = bits_of(node.number);
  std::snprintf(out, sizeof out, "g%08X", static_cast<unsigned>(bits & 0xFFFFFFFF));
  const bool narrow = bits >> 32 == 0 && node.is_integer == 0 && node.integer == 0;
  return std::string(out) + (narrow ? "" : "!");
}

std::string describe_word(const json_node& node, const char* word, std::int64_t integer,
                          std::int32_t is_integer) {
  const bool right = node.integer == integer && node.is_integer == is_integer && node.number == 0.0;
  return std::string(word) + (right ? "" : "!");
}

std::string describe_value(const json_node& node);

std::string describe_children(const json_node& node) {
  std::string out = node.type == JSON_ARRAY ? "[" : "{";
  const json_node* earlier = nullptr;
  for (const json_node* child = node.child; child != nullptr; child = child->next) {
    if (earlier != nullptr) out += ' ';
    if (child->prev != earlier) out += '!';
    if ((child->key == nullptr) != (node.type == JSON_ARRAY)) out += '!';
    if (child->key != nullptr) out += quoted(child->key) + ":";
    out += describe_value(*child);
    earlier = child;
  }
  return out + (node.type == JSON_ARRAY ? "]" : "}");
}

std::string describe_value(const json_node& node) {
  std::string flaw;
  if ((node.text == nullptr) == (node.type == JSON_STRING)) flaw += '!';
  if (node.child != nullptr && node.type < JSON_ARRAY) flaw += '!';
  if (node.type >= JSON_STRING && (node.integer != 0 || node.is_integer != 0)) flaw += '!';
  switch (node.type) {
    case JSON_FALSE:
      return describe_word(node, "false", 0, 1) + flaw;
    case JSON_TRUE:
      return describe_word(node, "true", 1, 1) + flaw;
    case JSON_NULL:
      return describe_word(node, "null", 0, 0) + flaw;
    case JSON_NUMBER:
      return describe_number(node) + flaw;
    case JSON_STRING:
      return quoted(node.text) + flaw;
    default:
      return describe_children(node) + flaw;
  }
}

std::string taken(char* text) {
  const text_ptr owner(text);
  return text == nullptr ? "(null)" : text;
}

// A copy of a text, up to its NUL, in a block of that size, so that the sanitizers see a read after
// it. Checks in the end that nobody wrote to it.
class exact_copy {
 public:
  explicit exact_copy(const std::string& text)
      : original_(text.c_str()), copy_(new char[original_.size() + 1]) {
    std::memcpy(copy_.get(), original_.c_str(), original_.size() + 1);
  }
  ~exact_copy() { EXPECT_EQ(copy_.get(), original_) << "the parser wrote to its text"; }
  exact_copy(const exact_copy&) = delete;
  exact_copy& operator=(const exact_copy&) = delete;

  const char* text() const { return copy_.get(); }

 private:
  std::string original_;
  std::unique_ptr<char[]> copy_;  // a failing_heap does not count it
};

}  // namespace

tree_ptr parse(const std::string& text) {
  const exact_copy copy(text);
  return tree_ptr(json_parse(copy.text()));
}

std::string describe_document(const std::string& text) {
  const exact_copy copy(text);
  json_document document;
  return describe(document.parse(copy.text()));
}

std::string print(const json_node* node) { return taken(json_print(node)); }
std::string pretty(const json_node* node) { return taken(json_print_pretty(node)); }

std::string describe(const json_node* node) {
  if (node == nullptr) return "fail";
  const bool alone = node->next == nullptr && node->prev == nullptr && node->key == nullptr;
  return describe_value(*node) + (alone ? "" : "!");
}

std::uint64_t bits_of(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

std::string repeated(const std::string& text, std::int32_t count) {
  std::string out;
  out.reserve(text.size() * static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) out += text;
  return out;
}

}  // namespace kvrpc::test
