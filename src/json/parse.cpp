// The parser: one loop over the values of a text, which opens and closes containers in the tree
// instead of recursing. It is lenient in exact ways: a keyword needs no word boundary, bytes
// outside of ASCII count as white space between values, a string without its closing quote ends at
// the next control byte, and whatever follows the first value is ignored.
#include "json/parse.h"

#include <cstring>

#include "base/plain_bytes.h"
#include "json/document.h"
#include "json/tree.h"

namespace kvrpc {

namespace {

// The scanners of the class return the position after what they read, or null on failure.
template <class Memory>
class parser {
 public:
  parser(Memory& memory, const char* end) : memory_(memory), end_(end) {}

  // Returns the root of the value at `at`, or null.
  json_node* parse(const char* at) {
    const bool parsed = memory_.start(static_cast<std::size_t>(end_ - at)) &&
                        tree_.append(memory_.node()) && parse_values(skip(at));
    json_node* const root = tree_.release();
    if (parsed) return root;
    memory_.drop(root);
    return nullptr;
  }

 private:
  bool parse_values(const char* at);
  const char* begin_value(const char* at);
  const char* end_value(const char* at);
  const char* begin_child(const char* at);
  const char* parse_key(json_node* node, const char* at);
  const char* parse_text(char** text, const char* at);
  const char* parse_short_text(char** text, const char* at);
  const char* parse_long_text(char** text, const char* at);
  const char* parse_number(json_node* node, const char* start);
  const char* parse_keyword(json_node* node, const char* at) const;
  const char* open_container(json_type type, const char* at);

  const char* skip(const char* at) const { return json_skip(at, end_); }
  // A string may end at a control byte instead of its closing quote.
  static const char* after_text(const char* stop) { return *stop == '"' ? stop + 1 : stop; }
  bool starts_with(const char* at, const char* word, std::size_t size) const {
    return static_cast<std::size_t>(end_ - at) >= size && std::memcmp(at, word, size) == 0;
  }

  Memory& memory_;
  const char* const end_;
  json_tree tree_;
};

// Reads the whole value that is to fill the tree's root.
template <class Memory>
bool parser<Memory>::parse_values(const char* at) {
  do {
    at = begin_value(at);
    if (at == nullptr) return false;
    if (tree_.container() == nullptr) return true;
    at = end_value(at);
  } while (tree_.container() != nullptr);
  return at != nullptr;
}

// Reads the value of the tree's last node. Of a container, reads only the opening bracket.
template <class Memory>
inline const char* parser<Memory>::begin_value(const char* at) {
  if (at == nullptr) return nullptr;
  json_node* const node = tree_.last();
  switch (*at) {
    case '"':
      node->type = JSON_STRING;
      return parse_text(&node->text, at + 1);
    case '[':
      return open_container(JSON_ARRAY, at);
    case '{':
      return open_container(JSON_OBJECT, at);
    default:
      return *at == '-' || json_is_digit(*at) ? parse_number(node, at) : parse_keyword(node, at);
  }
}

// Reads an opening bracket. The children of the tree's last node come next.
template <class Memory>
inline const char* parser<Memory>::open_container(json_type type, const char* at) {
  tree_.last()->type = type;
  tree_.open();
  return at + 1;
}

// Goes from the end of a value or from an opening bracket to the next value, and closes the
// containers that end before it. Returns that value's position, or the position after the root if
// the root has ended.
template <class Memory>
inline const char* parser<Memory>::end_value(const char* at) {
  do {
    if (at > end_) return nullptr;
    at = skip(at);
    if (*at == ',' && tree_.last() != nullptr) return begin_child(skip(at + 1));
    if (*at != (tree_.container()->type == JSON_ARRAY ? ']' : '}')) {
      return tree_.last() == nullptr ? begin_child(at) : nullptr;
    }
    tree_.close();
    ++at;
  } while (tree_.container() != nullptr);
  return at;
}

// Makes the open container's next child. Returns the position of its value.
template <class Memory>
inline const char* parser<Memory>::begin_child(const char* at) {
  json_node* const child = memory_.node();
  if (!tree_.append(child)) return nullptr;
  return tree_.container()->type == JSON_ARRAY ? at : parse_key(child, at);
}

// Reads a member's name and the colon. Returns the position of its value.
template <class Memory>
inline const char* parser<Memory>::parse_key(json_node* node, const char* at) {
  if (*at != '"') return nullptr;
  at = parse_text(&node->key, at + 1);
  if (at == nullptr) return nullptr;
  at = skip(at);
  return *at == ':' ? skip(at + 1) : nullptr;
}

// Stores the string whose bytes begin at `at`.
template <class Memory>
inline const char* parser<Memory>::parse_text(char** text, const char* at) {
  const char* const behind = parse_short_text(text, at);
  return behind != nullptr ? behind : parse_long_text(text, at);
}

// Stores a short string without escapes, as most strings are. Always copies block_size bytes,
// because a copy of fixed size is faster than one of the string's length. Returns null if the
// string does not end within these bytes, has an escape, or the memory has no room for them.
template <class Memory>
inline const char* parser<Memory>::parse_short_text(char** text, const char* at) {
  if (!Memory::room_for_blocks || end_ - at < std::ptrdiff_t{block_size}) return nullptr;
  const byte_block block = load_block(at);
  const std::uint32_t size = json_plain::count(block);
  if (size == block_size || at[size] == '\\') return nullptr;
  *text = memory_.text(std::size_t{size} + 1);
  store_block(*text, block);
  (*text)[size] = '\0';
  return after_text(at + size);
}

// Stores a string of any length. Where the memory has room for the rest of the call's text, copies
// the bytes before the first escape while it looks for it.
template <class Memory>
const char* parser<Memory>::parse_long_text(char** text, const char* at) {
  const char* plain;
  if constexpr (Memory::room_for_blocks) {
    plain = json_plain::copy(memory_.text(0), at, end_);
  } else {
    plain = json_plain::find_end(at, end_);
  }
  const char* const stop = *plain == '\\' ? json_string_end(plain, end_) : plain;
  if (stop == nullptr) return nullptr;
  *text = memory_.text(static_cast<std::size_t>(stop - at) + 1);
  if (*text == nullptr) return nullptr;
  const auto size = static_cast<std::size_t>(plain - at);
  if (!Memory::room_for_blocks) std::memcpy(*text, at, size);
  json_copy_string(*text + size, plain, stop);
  return after_text(stop);
}

// Reads a number. Leaves to json_parse_number what may not be a plain integer of 64 bits.
template <class Memory>
inline const char* parser<Memory>::parse_number(json_node* node, const char* start) {
  const bool negative = *start == '-';
  const char* const digits = negative ? start + 1 : start;
  const char* at = digits;
  std::uint64_t size = 0;  // meaningless after more than json_safe_digits digits
  for (; json_is_digit(*at); ++at) size = size * 10 + json_digit(*at);
  const auto count = at - digits;
  const bool plain = count > 0 && count <= json_safe_digits && (count == 1 || *digits != '0') &&
                     *at != '.' && *at != 'e' && *at != 'E';
  if (!plain) return json_parse_number(node, start, end_);
  const auto value = static_cast<std::int64_t>(size);
  json_set_integer(node, negative ? -value : value);
  return at;
}

template <class Memory>
const char* parser<Memory>::parse_keyword(json_node* node, const char* at) const {
  if (starts_with(at, "null", 4)) {
    node->type = JSON_NULL;
    return at + 4;
  }
  if (starts_with(at, "false", 5)) {
    node->type = JSON_FALSE;
    node->is_integer = 1;
    return at + 5;
  }
  if (starts_with(at, "true", 4)) {
    node->type = JSON_TRUE;
    node->integer = 1;
    node->is_integer = 1;
    return at + 4;
  }
  return nullptr;
}

template <class Memory>
json_node* parse_text(Memory& memory, const char* text) {
  if (text == nullptr || *text == '\0') return nullptr;
  return parser<Memory>(memory, text + std::strlen(text)).parse(text);
}

}  // namespace

json_node* json_parse(const char* text) {
  json_blocks blocks;
  return parse_text(blocks, text);
}

const json_node* json_document::parse(const char* text) { return parse_text(arena_, text); }

}  // namespace kvrpc
