// Base64 in both directions. Encoding takes a group of 24 bits at a time. Decoding takes one
// character at a time, because bytes outside the alphabet may be between any two.
#include "bridge/base64.h"

#include <cstdlib>

#include "rpc/rpc_os.h"

namespace kvrpc {
namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t not_in_alphabet = 0xFF;

struct value_table {
  std::uint8_t value[256];
};

constexpr value_table make_values() {
  value_table table{};
  for (std::uint8_t& value : table.value) value = not_in_alphabet;
  for (unsigned i = 0; i < 64; ++i) {
    table.value[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return table;
}
constexpr value_table values = make_values();

// Writes the four characters of a group of 24 bits. Returns the position after them.
char* put_group(char* out, std::uint32_t bits) {
  for (int shift = 18; shift >= 0; shift -= 6) *out++ = alphabet[bits >> shift & 0x3F];
  return out;
}

// Collects the bytes of a text that is read character by character. A quantum is four characters of
// six bits; `position_` counts those of the current one. Each but the first completes a byte.
class quantum_reader {
 public:
  explicit quantum_reader(std::uint8_t* out) : out_(out) {}

  std::uint8_t* end() const { return out_; }

  void take(std::uint8_t value) {
    bits_ = bits_ << 6 | value;
    if (position_ > 0) *out_++ = static_cast<std::uint8_t>(bits_ >> (6 - 2 * position_));
    position_ = (position_ + 1) % 4;
  }

  // Reads a `=`, after which the text has `following`. Returns false if it is misplaced: it must be
  // the fourth character of a quantum, or the third with another `=` after it.
  bool pad(char following) {
    if (position_ < 2 || (position_ == 2 && following != '=')) return false;
    position_ = (position_ + 1) % 4;
    return true;
  }

 private:
  std::uint8_t* out_;
  std::uint32_t bits_ = 0;
  std::uint32_t position_ = 0;
};

}  // namespace

char* base64_encode_to(char* out, const void* bytes, std::size_t size) {
  const std::uint8_t* in = static_cast<const std::uint8_t*>(bytes);
  for (; size >= 3; size -= 3, in += 3) {
    out = put_group(out, static_cast<std::uint32_t>(in[0] << 16 | in[1] << 8 | in[2]));
  }
  if (size == 0) return out;
  const int second = size == 2 ? in[1] : 0;
  out = put_group(out, static_cast<std::uint32_t>(in[0] << 16 | second << 8));
  if (size == 1) out[-2] = '=';
  out[-1] = '=';
  return out;
}

char* base64_encode(const void* bytes, std::size_t size, std::size_t* reserved_out) {
  if (size > SIZE_MAX / 2) return nullptr;
  // Compatibility: reserves what a text with a line break after each 60 characters would take.
  const std::size_t length = base64_text_size(size);
  const std::size_t reserved = length + length / 60 * 2 + 2;
  char* text = static_cast<char*>(std::malloc(reserved + 1));
  if (text == nullptr) return nullptr;
  *base64_encode_to(text, bytes, size) = '\0';
  if (reserved_out != nullptr) *reserved_out = reserved;
  return text;
}

std::uint8_t* base64_decode(const char* text, std::size_t size, std::size_t* length_out) {
  std::uint8_t* bytes =
      static_cast<std::uint8_t*>(std::calloc(size / 4 * 3 + size % 4 * 3 / 4 + 4, 1));
  if (bytes == nullptr) return nullptr;
  quantum_reader reader(bytes);
  for (std::size_t i = 0; i < size; ++i) {
    const std::uint8_t value = values.value[static_cast<unsigned char>(text[i])];
    if (value != not_in_alphabet) {
      reader.take(value);
    } else if (text[i] == '=' && !reader.pad(text[i + 1])) {
      rpc_write_error("impossible quantum position.\n");
      std::free(bytes);
      return nullptr;
    }
  }
  *length_out = static_cast<std::size_t>(reader.end() - bytes);
  return bytes;
}

}  // namespace kvrpc
