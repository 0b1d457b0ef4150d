// The printer of trees, in the compact and the formatted form. It keeps the containers around the
// current node on a growing_stack instead of recursing, so any nesting prints on a small stack.
#include <charconv>
#include <cmath>
#include <cstring>

#include "base/plain_bytes.h"
#include "json/escapes.h"
#include "json/growing_stack.h"
#include "json/text_buffer.h"

namespace kvrpc {

namespace {

// Prints a quoted string. Returns false for null, which has no JSON form.
bool print_text(text_buffer& out, const char* text) {
  return text != nullptr && json_write_text(out, text, std::strlen(text));
}

// Prints six digits after the point in every locale, with an exponent below 1e-6 and above 1e9. For
// example, 1.5 gives 1.500000.
bool print_double(text_buffer& out, double value) {
  constexpr std::size_t room = 64;
  char* place = out.reserve(room);
  if (place == nullptr) return false;
  const double size = std::fabs(value);
  const auto format =
      size < 1e-6 || size > 1e9 ? std::chars_format::scientific : std::chars_format::fixed;
  char* behind = std::to_chars(place, place + room, value, format, 6).ptr;
  out.commit(static_cast<std::size_t>(behind - place));
  return true;
}

bool print_number(text_buffer& out, const json_node& node) {
  return node.is_integer != 0 ? json_write_integer(out, node.integer)
                              : print_double(out, node.number);
}

// Prints one tree. `path_` holds the containers around the current node.
class tree_printer {
 public:
  tree_printer(text_buffer& out, bool formatted) : out_(out), formatted_(formatted) {}

  bool print(const json_node* node);

 private:
  bool print_opening(const json_node& node);
  bool print_closing(const json_node& container);
  bool print_before(const json_node& child);
  bool print_behind(const json_node& child);
  bool print_tabs();
  bool in_object() const { return path_.top()->type == JSON_OBJECT; }

  text_buffer& out_;
  const bool formatted_;
  growing_stack<const json_node*> path_;
};

bool is_container(const json_node& node) {
  return node.type == JSON_ARRAY || node.type == JSON_OBJECT;
}

bool tree_printer::print(const json_node* node) {
  while (true) {
    if (!print_opening(*node)) return false;
    if (is_container(*node) && node->child != nullptr) {
      if (!path_.push(node)) return false;
      node = node->child;
    } else {
      if (is_container(*node) && !print_closing(*node)) return false;
      while (path_.depth() > 0 && node->next == nullptr) {
        if (!print_behind(*node)) return false;
        node = path_.pop();
        if (!print_closing(*node)) return false;
      }
      if (path_.depth() == 0) return true;
      if (!print_behind(*node)) return false;
      node = node->next;
    }
    if (!print_before(*node)) return false;
  }
}

// Prints a single value, or the opening bracket of a container.
bool tree_printer::print_opening(const json_node& node) {
  switch (node.type) {
    case JSON_FALSE:
      return out_.append("false", 5);
    case JSON_TRUE:
      return out_.append("true", 4);
    case JSON_NULL:
      return out_.append("null", 4);
    case JSON_NUMBER:
      return print_number(out_, node);
    case JSON_STRING:
      return print_text(out_, node.text);
    case JSON_ARRAY:
      return out_.append('[');
    case JSON_OBJECT:
      return out_.append("{\n", formatted_ ? 2 : 1);
    default:
      return false;
  }
}

// Prints the closing bracket. The container must no longer be on the path.
bool tree_printer::print_closing(const json_node& container) {
  if (container.type == JSON_ARRAY) return out_.append(']');
  return print_tabs() && out_.append('}');
}

bool tree_printer::print_before(const json_node& child) {
  if (!in_object()) return true;
  return print_tabs() && print_text(out_, child.key) && out_.append(":\t", formatted_ ? 2 : 1);
}

bool tree_printer::print_behind(const json_node& child) {
  const bool more = child.next != nullptr;
  if (!in_object()) return !more || out_.append(", ", 2);
  if (more && !out_.append(',')) return false;
  return !formatted_ || out_.append('\n');
}

// In the formatted form, prints one tab for each container on the path.
bool tree_printer::print_tabs() {
  if (!formatted_) return true;
  char* place = out_.reserve(path_.depth());
  if (place == nullptr) return false;
  std::memset(place, '\t', path_.depth());
  out_.commit(path_.depth());
  return true;
}

bool print_tree(text_buffer& out, const json_node* node, bool formatted) {
  return (node != nullptr && tree_printer(out, formatted).print(node)) || out.fail();
}

}  // namespace

bool json_write_integer(text_buffer& out, std::int64_t value) {
  constexpr std::size_t room = 20;
  char* place = out.reserve(room);
  if (place == nullptr) return false;
  char* behind = std::to_chars(place, place + room, value).ptr;
  out.commit(static_cast<std::size_t>(behind - place));
  return true;
}

bool json_write_text(text_buffer& out, const char* bytes, std::size_t count) {
  const char* end = bytes + count;
  if (!out.append('"')) return false;
  while (true) {
    const char* plain = json_plain::find_end(bytes, end);
    if (!out.append(bytes, static_cast<std::size_t>(plain - bytes))) return false;
    if (plain == end) return out.append('"');
    const char escape[] = {'\\', json_escape_letter(*plain)};
    if (escape[1] != '\0' && !out.append(escape, sizeof escape)) return false;
    bytes = plain + 1;
  }
}

bool json_write(text_buffer& out, const json_node* node) { return print_tree(out, node, false); }

char* json_print(const json_node* node) {
  text_buffer out;
  return print_tree(out, node, false) ? out.release() : nullptr;
}

char* json_print_pretty(const json_node* node) {
  text_buffer out;
  return print_tree(out, node, true) ? out.release() : nullptr;
}

}  // namespace kvrpc
