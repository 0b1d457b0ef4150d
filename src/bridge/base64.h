// Base64 for opaque data: the standard alphabet, `=` as padding, and no line breaks in what is
// written.
//
// Reading is lenient: bytes outside the alphabet are skipped, the padding at the end may be
// missing, and padded texts may follow one another. For example, "TQ==TQ" gives two bytes. Only a
// misplaced `=` fails, with a line on standard error. Results are allocated with malloc and belong
// to the caller.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvrpc {

// Returns the length of the text for `size` bytes, without a NUL.
constexpr std::size_t base64_text_size(std::size_t size) {
  return size / 3 * 4 + (size % 3 != 0 ? 4 : 0);
}

// Writes the text for `size` bytes to `out`, without a NUL. Returns the position after it.
char* base64_encode_to(char* out, const void* bytes, std::size_t size);

// Surface: replies are written with base64_encode_to.
//
// Returns the text with its NUL, or null if memory is out. `reserved_out` may be null; it receives
// the size that was reserved, which is more than the text's length.
char* base64_encode(const void* bytes, std::size_t size, std::size_t* reserved_out);

// Returns the bytes and stores their number in `length_out`, or returns null if memory is out or
// the padding is wrong. A NUL must follow the `size` bytes of text, because the byte after a `=` is
// read as well.
std::uint8_t* base64_decode(const char* text, std::size_t size, std::size_t* length_out);

}  // namespace kvrpc
