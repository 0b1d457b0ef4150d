// The encoders of single fields: numbers, texts and bytes. json_encode (encode_record.cpp) chooses
// among them by a field's type.

#include "bridge/base64.h"
#include "bridge/encode.h"
#include "bridge/uc2.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

template <class Integer>
int integer(const json_node* node, void* field) {
  if (node->type != JSON_NUMBER) return 0;
  store(field, static_cast<Integer>(static_cast<std::uint64_t>(node->integer)));
  return 1;
}

// The text of a string node in the form that the record holds. A short text is converted into the
// object's own buffer, because most texts are short and an allocation costs more than converting
// them.
class source_text {
 public:
  source_text(const json_node* node, int raw_text) {
    if (node->type != JSON_STRING || node->text == nullptr) return;
    length_ = std::strlen(node->text);
    bytes_ = raw_text == 0 ? iso_text(node->text) : node->text;
  }
  ~source_text() { std::free(block_); }
  source_text(const source_text&) = delete;
  source_text& operator=(const source_text&) = delete;

  // Returns null if the node has another type or memory is out.
  const char* bytes() const { return bytes_; }
  std::size_t length() const { return length_; }

  // Returns a copy of the first `size` bytes with a NUL after them, or null if memory is out. The
  // caller must free the copy. `size` must be at most length() + 1. Must be called only once, and
  // after all other members.
  char* take(std::uint32_t size) {
    char* const block = block_ != nullptr ? block_ : new_block(size);
    if (block != nullptr && block != block_) std::memcpy(block, bytes_, size);
    if (block != nullptr) block[size] = '\0';
    block_ = nullptr;
    return block;
  }

 private:
  // Converts a text of length_ bytes, which becomes the length of the result. Returns null if
  // memory is out.
  const char* iso_text(const char* text) {
    const std::size_t size = length_ + 1;  // no character has more bytes in the ISO code
    if (size > sizeof short_) block_ = static_cast<char*>(std::malloc(size + 1));  // see take()
    char* const place = size > sizeof short_ ? block_ : short_;
    if (place != nullptr) length_ = utf8_text_to_iso(text, length_, place, size, "?");
    return place;
  }

  char short_[256];
  char* block_ = nullptr;
  const char* bytes_ = nullptr;
  std::size_t length_ = 0;
};

// Returns the size of a text with its NUL, at most `cap`.
std::uint32_t capped_size(const source_text& source, std::uint32_t cap) {
  const std::uint64_t size = std::uint64_t{source.length()} + 1;
  return size > cap ? cap : static_cast<std::uint32_t>(size);
}

}  // namespace

int json_encode_void(const json_node*, int, void*) { return 1; }

int json_encode_int(const json_node* n, int, void* f) { return integer<std::int32_t>(n, f); }
int json_encode_u_int(const json_node* n, int, void* f) { return integer<std::uint32_t>(n, f); }
int json_encode_long(const json_node* n, int, void* f) { return integer<std::int32_t>(n, f); }
int json_encode_u_long(const json_node* n, int, void* f) { return integer<std::uint32_t>(n, f); }
int json_encode_short(const json_node* n, int, void* f) { return integer<std::int16_t>(n, f); }
int json_encode_u_short(const json_node* n, int, void* f) { return integer<std::uint16_t>(n, f); }
int json_encode_enum(const json_node* n, int, void* f) { return integer<std::int32_t>(n, f); }

int json_encode_float(const json_node* node, int, void* field) {
  if (node->type != JSON_NUMBER) return 0;
  store(field, static_cast<float>(node->number));
  return 1;
}

int json_encode_double(const json_node* node, int, void* field) {
  if (node->type != JSON_NUMBER) return 0;
  store(field, node->number);
  return 1;
}

int json_encode_bool(const json_node* node, int, void* field) {
  if (node->type != JSON_TRUE && node->type != JSON_FALSE) return 0;
  store<std::int32_t>(field, node->type == JSON_TRUE ? 1 : 0);
  return 1;
}

int json_encode_char(const json_node*, int, void*) {
  rpc_write_error("error:  <future feature> json_encode_char called.\n");
  return 0;
}

int json_encode_u_char(const json_node* node, int raw_text, void* field) {
  return json_encode_char(node, raw_text, field);
}

void warn_of_char_array() { rpc_write_error("jsonxdr warning: char array\n"); }

int json_encode_string(const json_node* node, int raw_text, void* field, std::uint32_t cap) {
  source_text source(node, raw_text);
  if (source.bytes() == nullptr) return 0;
  const std::uint32_t size = capped_size(source, cap);
  char* copy = source.take(size);
  if (copy == nullptr) return 0;
  if (size > 0) copy[size - 1] = '\0';  // the cap counts the terminator
  std::free(load<char*>(field));
  store(field, copy);
  return 1;
}

int json_encode_counted_text(const json_node* node, int raw_text, void* block, std::uint32_t cap) {
  source_text source(node, raw_text);
  if (source.bytes() == nullptr) return 0;
  const std::uint32_t size = capped_size(source, cap);
  char* copy = source.take(size);
  if (copy == nullptr) return 0;
  std::free(load_block_pointer(block));
  store_block(block, size, copy);
  return 1;
}

int json_encode_text_block(const json_node* node, int raw_text, void* block) {
  return json_encode_counted_text(node, raw_text, block, UINT32_MAX);
}

int json_encode_fixed_text(const json_node* node, int raw_text, char* buffer, std::uint32_t cap) {
  const source_text source(node, raw_text);
  if (source.bytes() == nullptr) return 0;
  std::memcpy(buffer, source.bytes(), capped_size(source, cap));
  return 1;
}

// Compatibility: a text that is too long for the field is dropped, and the result is 1. The field
// keeps what it had. Do not fix.
int json_encode_char_vector(const json_node* node, int raw_text, char* base, std::uint32_t count) {
  const source_text source(node, raw_text);
  if (source.bytes() == nullptr) return 0;
  if (source.length() < count) std::memcpy(base, source.bytes(), source.length() + 1);
  return 1;
}

int json_encode_bytes(const json_node* node, int, void* block) {
  if (node->type != JSON_STRING || node->text == nullptr) return 0;
  std::size_t length = 0;
  std::uint8_t* bytes = base64_decode(node->text, std::strlen(node->text), &length);
  if (bytes == nullptr) return 0;
  std::free(load_block_pointer(block));
  store_block(block, static_cast<std::uint32_t>(length), reinterpret_cast<char*>(bytes));
  return 1;
}

int json_encode_opaque(const json_node* node, int, char* buffer, std::uint32_t size) {
  if (node->type != JSON_STRING || node->text == nullptr) return 0;
  std::size_t length = 0;
  const owned_block bytes(base64_decode(node->text, std::strlen(node->text), &length));
  if (bytes.get() == nullptr || length != size) return 0;
  std::memcpy(buffer, bytes.get(), size);
  return 1;
}

}  // namespace kvrpc
