// The encoders of single fields: numbers, texts and bytes. json_encode (encode_record.cpp) chooses
// among them by a field's type.
#include <algorithm>

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

template <class Real>
int real(const json_node* node, void* field) {
  if (node->type != JSON_NUMBER) return 0;
  store(field, static_cast<Real>(node->number));
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
  source_text(const source_text&) = delete;
  source_text& operator=(const source_text&) = delete;

  // Returns null if the node has another type or memory is out.
  const char* bytes() const { return bytes_; }
  std::size_t length() const { return length_; }
  // Returns the size of the text with its NUL, at most `cap`.
  std::uint32_t capped_size(std::uint32_t cap) const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{length_} + 1, cap));
  }

  // Returns a copy of the first `size` bytes with a NUL after them, or null if memory is out. The
  // caller must free the copy. `size` must be at most length() + 1. Must be called only once, and
  // after all other members.
  char* take(std::uint32_t size) {
    char* const block = block_ != nullptr ? block_.release() : new_block(size);
    if (block == nullptr) return nullptr;
    if (block != bytes_) std::memcpy(block, bytes_, size);
    block[size] = '\0';
    return block;
  }

 private:
  // Converts a text of length_ bytes, which becomes the length of the result. Returns null if
  // memory is out.
  const char* iso_text(const char* text) {
    const std::size_t size = length_ + 1;  // no character has more bytes in the ISO code
    if (size > sizeof short_) block_.reset(static_cast<char*>(std::malloc(size + 1)));
    char* const place = size > sizeof short_ ? block_.get() : short_;
    if (place != nullptr) length_ = utf8_text_to_iso(text, length_, place, size, "?");
    return place;
  }

  char short_[256];
  owned_block block_;
  const char* bytes_ = nullptr;
  std::size_t length_ = 0;
};

// Returns a copy of a string node's text, which the caller must free, and stores its size with the
// NUL, at most `cap`. Returns null if the node has another type or memory is out.
char* new_text(const json_node* node, int raw_text, std::uint32_t cap, std::uint32_t* size) {
  source_text source(node, raw_text);
  if (source.bytes() == nullptr) return nullptr;
  *size = source.capped_size(cap);
  return source.take(*size);
}

// Returns the bytes of a node's Base64 text and stores their number, or returns null.
owned_block decoded_base64(const json_node* node, std::size_t* length) {
  if (node->type != JSON_STRING || node->text == nullptr) return nullptr;
  std::uint8_t* const bytes = base64_decode(node->text, std::strlen(node->text), length);
  return owned_block(reinterpret_cast<char*>(bytes));
}

void replace_block(void* block, std::uint32_t count, char* bytes) {
  std::free(load_block_pointer(block));
  store_block(block, count, bytes);
}

}  // namespace

int json_encode_void(const json_node*, int, void*) { return 1; }

int json_encode_int(const json_node* n, int, void* f) { return integer<std::int32_t>(n, f); }
int json_encode_u_int(const json_node* n, int, void* f) { return integer<std::uint32_t>(n, f); }
int json_encode_short(const json_node* n, int, void* f) { return integer<std::int16_t>(n, f); }
int json_encode_u_short(const json_node* n, int, void* f) { return integer<std::uint16_t>(n, f); }

int json_encode_float(const json_node* n, int, void* f) { return real<float>(n, f); }
int json_encode_double(const json_node* n, int, void* f) { return real<double>(n, f); }

int json_encode_bool(const json_node* node, int, void* field) {
  if (node->type != JSON_TRUE && node->type != JSON_FALSE) return 0;
  store<std::int32_t>(field, node->type == JSON_TRUE ? 1 : 0);
  return 1;
}

int json_encode_char(const json_node*, int, void*) {
  rpc_write_error("error:  <future feature> json_encode_char called.\n");
  return 0;
}

void warn_of_char_array() { rpc_write_error("jsonxdr warning: char array\n"); }

int json_encode_string(const json_node* node, int raw_text, void* field, std::uint32_t cap) {
  std::uint32_t size = 0;
  char* const copy = new_text(node, raw_text, cap, &size);
  if (copy == nullptr) return 0;
  if (size > 0) copy[size - 1] = '\0';  // the cap counts the terminator
  std::free(load<char*>(field));
  store(field, copy);
  return 1;
}

int json_encode_counted_text(const json_node* node, int raw_text, void* block, std::uint32_t cap) {
  std::uint32_t size = 0;
  char* const copy = new_text(node, raw_text, cap, &size);
  if (copy != nullptr) replace_block(block, size, copy);
  return copy != nullptr ? 1 : 0;
}

int json_encode_text_block(const json_node* node, int raw_text, void* block) {
  return json_encode_counted_text(node, raw_text, block, UINT32_MAX);
}

int json_encode_fixed_text(const json_node* node, int raw_text, char* buffer, std::uint32_t cap) {
  const source_text source(node, raw_text);
  if (source.bytes() == nullptr) return 0;
  std::memcpy(buffer, source.bytes(), source.capped_size(cap));
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
  std::size_t length = 0;
  owned_block bytes = decoded_base64(node, &length);
  if (bytes == nullptr) return 0;
  replace_block(block, static_cast<std::uint32_t>(length), bytes.release());
  return 1;
}

int json_encode_opaque(const json_node* node, int, char* buffer, std::uint32_t size) {
  std::size_t length = 0;
  const owned_block bytes = decoded_base64(node, &length);
  if (bytes == nullptr || length != size) return 0;
  std::memcpy(buffer, bytes.get(), size);
  return 1;
}

}  // namespace kvrpc
