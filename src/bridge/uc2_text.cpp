// The conversions of whole texts: loops over the conversions of one character, with output that is
// truncated at the buffer's end. On the way to ISO, ASCII is copied block_size bytes at a time,
// because most text is ASCII.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "bridge/uc2_code.h"

namespace kvrpc {
namespace {

// Ends the output with a zero after `count` elements, or in the last element of a full buffer.
template <class Unit>
Unit* terminate(Unit* buffer, std::size_t count, std::size_t size) {
  if (size > 0) buffer[count < size ? count : size - 1] = 0;
  return buffer;
}

std::size_t length_or_zero(const char* text) { return text == nullptr ? 0 : std::strlen(text); }

void cut_to_one_byte(char* text) {
  if (length_or_zero(text) > 1) text[1] = '\0';
}

// copy_same_bytes() copies block_size bytes from `text` and returns how many of them, from the
// first on, are characters whose ISO byte is the same: ASCII from the space on, except the
// apostrophe and the grave accent. It may return 0 instead, even if the first ones are.

#ifdef __SSE2__

constexpr std::size_t block_size = 16;

std::size_t copy_same_bytes(char* place, const char* text) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(place), bytes);
  const __m128i others = _mm_or_si128(
      _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)),  // bytes above 0x7F compare as negative
      _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\'')),
                   _mm_cmpeq_epi8(bytes, _mm_set1_epi8('`'))));
  const auto mask = static_cast<std::uint32_t>(_mm_movemask_epi8(others));
  return static_cast<std::size_t>(__builtin_ctz(mask | 1u << block_size));
}

#else

constexpr std::size_t block_size = sizeof(std::uint64_t);

// The subtractions set the top bit of the lowest byte that is too small or has become zero. A
// borrow can only make later bytes wrong, which does not matter because one wrong byte is enough.
std::size_t copy_same_bytes(char* place, const char* text) {
  constexpr std::uint64_t each = 0x0101010101010101u;
  std::uint64_t word;
  std::memcpy(&word, text, block_size);
  std::memcpy(place, &word, block_size);
  const std::uint64_t apostrophe = word ^ (each * '\'');
  const std::uint64_t grave = word ^ (each * '`');
  const std::uint64_t others = (word - each * 0x20) | (apostrophe - each) | (grave - each) | word;
  return (others & (each * 0x80)) == 0 ? block_size : 0;
}

#endif

// Collects ISO text, with the replacement wherever a character has no byte.
class iso_writer {
 public:
  iso_writer(char* buffer, std::size_t size, const char* replacement)
      : buffer_(buffer),
        size_(size),
        replacement_(replacement),
        replacement_size_(length_or_zero(replacement)) {}

  bool has_room() const { return count_ < size_; }

  void put(uc2::iso_char iso) {
    if (iso.mod == iso_good) {
      buffer_[count_++] = iso.byte;
    } else if (iso.mod != iso_vanish) {
      put_replacement();
    }
  }

  // Writes the replacement, or nothing if it would not leave room for at least one more byte.
  void put_replacement() {
    if (replacement_size_ == 0 || replacement_size_ >= size_ - count_) return;
    std::memcpy(buffer_ + count_, replacement_, replacement_size_);
    count_ += replacement_size_;
  }

  // Copies bytes that stay the same in the ISO code, as long as block_size bytes can be read before
  // `end` and have room. Returns the position after them.
  const char* put_same(const char* text, const char* end) {
    const std::size_t most = std::min(static_cast<std::size_t>(end - text), size_ - count_);
    char* const place = buffer_ + count_;
    std::size_t copied = 0;
    while (most - copied >= block_size) {
      const std::size_t same = copy_same_bytes(place + copied, text + copied);
      if (same < block_size) {
        copied += same;
        break;
      }
      copied += block_size;  // a constant, so that the next copy does not wait for this result
    }
    count_ += copied;
    return text + copied;
  }

  char* finish() { return terminate(buffer_, count_, size_); }

 private:
  char* buffer_;
  std::size_t size_;
  const char* replacement_;
  std::size_t replacement_size_;
  std::size_t count_ = 0;
};

// Converts the character at `text`. Returns how many bytes it has there.
std::size_t put_utf8(iso_writer& out, const char* text) {
  const uc2::utf8_char read = uc2::read_utf8(text);
  if (read.good) {
    out.put(uc2::to_iso(read.unit));
  } else {
    out.put_replacement();
  }
  return read.size;
}

std::size_t put_iso(char* out, char iso) {
  return uc2::encode_iso(static_cast<unsigned char>(iso), out);
}

}  // namespace

char* utf8string_to_iso(const char* utf8string, char* buffer, std::size_t size,
                        const char* replacement) {
  if (utf8string == nullptr || buffer == nullptr) return nullptr;
  const char* at = utf8string;
  const char* const end = at + std::strlen(at);
  iso_writer out(buffer, size, replacement);
  while (at < end && out.has_room()) {
    at = out.put_same(at, end);
    if (at < end && out.has_room()) at += put_utf8(out, at);
  }
  return out.finish();
}

char* utf8string_to_iso_alloc(const char* text, char* replacement) {
  if (text == nullptr) return nullptr;
  cut_to_one_byte(replacement);
  const std::size_t size = std::strlen(text) + 1;
  return utf8string_to_iso(text, static_cast<char*>(std::malloc(size)), size, replacement);
}

std::size_t isostring_utf8_size(const char* text) {
  if (text == nullptr) return 0;
  std::size_t size = 1;
  char form[3];
  for (const char* p = text; *p != '\0'; ++p) size += put_iso(form, *p);
  return size;
}

char* isostring_to_utf8(const char* text, char* buffer, std::size_t size) {
  if (text == nullptr || buffer == nullptr) return nullptr;
  std::size_t count = 0;
  for (const char* p = text; *p != '\0' && count < size; ++p) {
    char form[3];
    const std::size_t form_size = put_iso(form, *p);
    if (form_size + count >= size) break;
    std::memcpy(buffer + count, form, form_size);
    count += form_size;
  }
  return terminate(buffer, count, size);
}

char* isostring_to_utf8_alloc(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = isostring_utf8_size(text);
  return isostring_to_utf8(text, static_cast<char*>(std::malloc(size)), size);
}

std::uint16_t* isostring_to_uc2(const char* text, std::uint16_t* array, std::size_t size) {
  if (text == nullptr || array == nullptr) return nullptr;
  std::size_t count = 0;
  for (; text[count] != '\0' && count < size; ++count) array[count] = uc2::to_uc2(text[count]);
  return terminate(array, count, size);
}

std::uint16_t* isostring_to_uc2_alloc(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return isostring_to_uc2(text, static_cast<std::uint16_t*>(std::malloc(2 * size)), size);
}

char* uc2array_to_iso(const std::uint16_t* array, std::size_t count, char* buffer, std::size_t size,
                      const char* replacement) {
  if (array == nullptr || buffer == nullptr) return nullptr;
  iso_writer out(buffer, size, replacement);
  for (std::size_t i = 0; i < count && out.has_room(); ++i) out.put(uc2::to_iso(array[i]));
  return out.finish();
}

char* uc2array_to_iso_alloc(const std::uint16_t* array, std::size_t count, char* replacement) {
  if (array == nullptr) return nullptr;
  cut_to_one_byte(replacement);
  return uc2array_to_iso(array, count, static_cast<char*>(std::malloc(count + 1)), count + 1,
                         replacement);
}

}  // namespace kvrpc
