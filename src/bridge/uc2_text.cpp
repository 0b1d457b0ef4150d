// The conversions of whole texts: loops over the conversions of one character, with output that is
// truncated at the buffer's end. On the way to ISO, ASCII is copied in blocks, because most text is
// ASCII.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/plain_bytes.h"
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

  // Copies the ASCII characters at `text` that have the same byte in the ISO code, as far as they
  // have room. Returns the position after them.
  const char* put_same(const char* text, const char* end) {
    const std::size_t most = std::min(static_cast<std::size_t>(end - text), size_ - count_);
    const char* const next = iso_plain::copy(buffer_ + count_, text, text + most);
    count_ += static_cast<std::size_t>(next - text);
    return next;
  }

  char* finish() { return terminate(buffer_, count_, size_); }
  std::size_t length() const { return count_ < size_ || size_ == 0 ? count_ : size_ - 1; }

 private:
  char* buffer_;
  std::size_t size_;
  const char* replacement_;
  std::size_t replacement_size_;
  std::size_t count_ = 0;
};

}  // namespace

char* utf8string_to_iso(const char* utf8string, char* buffer, std::size_t size,
                        const char* replacement) {
  if (utf8string == nullptr || buffer == nullptr) return nullptr;
  utf8_text_to_iso(utf8string, std::strlen(utf8string), buffer, size, replacement);
  return buffer;
}

std::size_t utf8_text_to_iso(const char* text, std::size_t length, char* buffer, std::size_t size,
                             const char* replacement) {
  const char* const end = text + length;
  iso_writer out(buffer, size, replacement);
  text = out.put_same(text, end);
  while (text < end && out.has_room()) {
    const uc2::utf8_char read = uc2::read_utf8(text);
    out.put(uc2::to_iso(read));
    text = out.put_same(text + read.size, end);
  }
  out.finish();
  return out.length();
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
  for (const char* p = text; *p != '\0'; ++p) size += uc2::encode_iso(*p, form);
  return size;
}

char* isostring_to_utf8(const char* text, char* buffer, std::size_t size) {
  if (text == nullptr || buffer == nullptr) return nullptr;
  std::size_t count = 0;
  for (const char* p = text; *p != '\0' && count < size; ++p) {
    char form[3];
    const std::size_t form_size = uc2::encode_iso(*p, form);
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
