#include "bridge/uc2.h"

// The conditions asserted here do the work of the loops, so they stand in every build.
#undef NDEBUG
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace kvrpc {
namespace {

// ---- the tables

struct unit_table {
  std::uint16_t unit[256];
};

constexpr unit_table make_units() {
  unit_table table{};
  for (int byte = 0; byte < 256; ++byte) table.unit[byte] = static_cast<std::uint16_t>(byte);
  table.unit[0xA4] = 0x20AC;
  table.unit[0xA6] = 0x0160;
  table.unit[0xA8] = 0x0161;
  table.unit[0xB4] = 0x017D;
  table.unit[0xB8] = 0x017E;
  table.unit[0xBC] = 0x0152;
  table.unit[0xBD] = 0x0153;
  table.unit[0xBE] = 0x0178;
  return table;
}
constexpr unit_table units = make_units();

struct byte_table {
  std::uint8_t byte[0x10000];  // 0: the unit has no byte
};

struct unit_byte {
  std::uint16_t unit;
  std::uint8_t byte;
};

// The server's own places for what ISO 8859-15 puts elsewhere or lacks.
constexpr unit_byte private_and_folded[] = {
    {0x0060, 0x80}, {0x02C6, 0x81}, {0x02DC, 0x82}, {0x0131, 0x83}, {0x0192, 0x84}, {0x201C, 0x85},
    {0x201D, 0x86}, {0x2039, 0x87}, {0x203A, 0x88}, {0xFB01, 0x89}, {0xFB02, 0x8A}, {0x2020, 0x8B},
    {0x2021, 0x8C}, {0x2013, 0x8D}, {0x2022, 0x8E}, {0x02D8, 0x8F}, {0x201E, 0x90}, {0x2026, 0x91},
    {0x2030, 0x92}, {0x2122, 0x93}, {0x2018, 0x60}, {0x2019, 0x27}, {0x2212, 0x2D}, {0x2215, 0x2F},
    {0x2219, 0xB7}, {0x02C9, 0xAF}, {0x03BC, 0xB5}, {0x0110, 0xD0}, {0x0189, 0xD0}, {0x2010, 0xAD},
    {0x2011, 0xAD}, {0x2000, 0x20}, {0x2001, 0x20}, {0x2002, 0x20}, {0x2003, 0x20}, {0x2004, 0x20},
    {0x2005, 0x20}, {0x2006, 0x20}, {0x2009, 0x20}, {0x200A, 0x20},
};

constexpr byte_table make_bytes() {
  byte_table table{};
  for (int same : {0x07, 0x09, 0x0A, 0x0C, 0x0D})
    table.byte[same] = static_cast<std::uint8_t>(same);
  for (int same = 0x20; same <= 0x7F; ++same) table.byte[same] = static_cast<std::uint8_t>(same);
  for (int same = 0xA0; same <= 0xFF; ++same) table.byte[same] = static_cast<std::uint8_t>(same);
  for (int none : {0x27, 0xA4, 0xA6, 0xA8, 0xAC, 0xB4, 0xB8, 0xBC, 0xBD, 0xBE, 0xD8, 0xF7}) {
    table.byte[none] = 0;
  }
  for (int byte : {0xA4, 0xA6, 0xA8, 0xB4, 0xB8, 0xBC, 0xBD, 0xBE}) {
    table.byte[units.unit[byte]] = static_cast<std::uint8_t>(byte);
  }
  for (const unit_byte& row : private_and_folded) table.byte[row.unit] = row.byte;
  return table;
}
constexpr byte_table bytes = make_bytes();

constexpr std::uint16_t replacement_character = 0xFFFD;

constexpr bool vanishes(std::uint16_t unit) { return unit == 0x080C || unit == 0xFEFF; }

// ---- UTF-8

constexpr char as_char(std::uint32_t byte) {
  return static_cast<char>(static_cast<unsigned char>(byte));
}

constexpr int encode_utf8(std::uint32_t value, char* out) {
  if (value >= 0xD800 && value <= 0xDFFF) return -2;
  if (value == 0xFFFF || value >= 0x10FFFF) return -1;
  if (value < 0x80) {
    out[0] = as_char(value);
    return 1;
  }
  const int size = value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
  for (int i = size - 1; i > 0; --i, value >>= 6) out[i] = as_char(0x80 | (value & 0x3F));
  const std::uint32_t lead[] = {0xC0, 0xE0, 0xF0};
  out[0] = as_char(lead[size - 2] | value);
  return size;
}

constexpr utf8_forms make_forms() {
  utf8_forms forms{};
  for (int byte = 0; byte < 256; ++byte) {
    utf8_form& form = forms.form[byte];
    form.size = static_cast<std::uint8_t>(encode_utf8(units.unit[byte], form.bytes));
  }
  return forms;
}

constexpr int byte_of(const char* text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

constexpr bool is_continuation(int byte) { return byte >= 0x80 && byte <= 0xBF; }

int bad_sequence(std::size_t* index, std::size_t step, std::uint16_t* unit) {
  *unit = replacement_character;
  *index += step;
  return 0;
}

// A whole sequence of `size` bytes, of which an overlong one counts as bad.
int whole_sequence(int value, int least, std::size_t size, std::size_t* index,
                   std::uint16_t* unit) {
  if (value < least) return bad_sequence(index, size, unit);
  *unit = static_cast<std::uint16_t>(value);
  *index += size;
  return 1;
}

// ---- output that is cut at the buffer's end

template <class Unit>
Unit* terminate(Unit* buffer, std::size_t count, std::size_t size) {
  if (size > 0) buffer[count < size ? count : size - 1] = 0;
  return buffer;
}

std::size_t length_or_zero(const char* text) { return text == nullptr ? 0 : std::strlen(text); }

void cut_to_one_byte(char* text) {
  if (length_or_zero(text) > 1) text[1] = '\0';
}

// Collects ISO text and puts the replacement where there is no byte.
class iso_writer {
 public:
  iso_writer(char* buffer, std::size_t size, const char* replacement)
      : buffer_(buffer),
        size_(size),
        replacement_(replacement),
        replacement_size_(length_or_zero(replacement)) {}

  bool has_room() const { return count_ < size_; }

  void put(char iso, int mod) {
    if (mod == iso_good) {
      buffer_[count_++] = iso;
    } else if (mod != iso_vanish && replacement_size_ != 0 && replacement_size_ < size_ - count_) {
      std::memcpy(buffer_ + count_, replacement_, replacement_size_);
      count_ += replacement_size_;
    }
  }

  char* finish() { return terminate(buffer_, count_, size_); }

 private:
  char* buffer_;
  std::size_t size_;
  const char* replacement_;
  std::size_t replacement_size_;
  std::size_t count_ = 0;
};

}  // namespace

constexpr utf8_forms iso_utf8 = make_forms();

// ---- one character

int utf8_to_uc2(const char* text, std::size_t* index, std::uint16_t* unit) {
  if (text == nullptr || index == nullptr || unit == nullptr) return 0;
  const int lead = byte_of(text, *index);
  if (lead < 0x80) return whole_sequence(lead, 0, 1, index, unit);
  if (lead < 0xC0 || lead > 0xEF) return bad_sequence(index, 1, unit);
  const int second = byte_of(text, *index + 1);
  if (!is_continuation(second)) return bad_sequence(index, 1, unit);
  if (lead < 0xE0) {
    return whole_sequence((lead & 0x1F) << 6 | (second & 0x3F), 0x80, 2, index, unit);
  }
  const int third = byte_of(text, *index + 2);
  if (!is_continuation(third)) return bad_sequence(index, 2, unit);
  return whole_sequence((lead & 0x0F) << 12 | (second & 0x3F) << 6 | (third & 0x3F), 0x800, 3,
                        index, unit);
}

int uc2_to_iso(std::uint16_t unit, char* iso, int* mod) {
  if (iso == nullptr || mod == nullptr) return 0;
  *iso = as_char(bytes.byte[unit]);
  *mod = *iso != 0 ? iso_good : vanishes(unit) ? iso_vanish : iso_no_byte;
  return 1;
}

int utf8_to_iso(const char* text, std::size_t* index, char* iso, int* mod) {
  if (text == nullptr || index == nullptr || iso == nullptr || mod == nullptr) return 0;
  std::uint16_t unit = 0;
  if (utf8_to_uc2(text, index, &unit) != 0) return uc2_to_iso(unit, iso, mod);
  *iso = 0;
  *mod = iso_bad_utf8;
  return 1;
}

int iso_to_uc2(char iso, std::uint16_t* unit) {
  if (unit == nullptr) return 0;
  *unit = units.unit[static_cast<unsigned char>(iso)];
  return 1;
}

int uc2_to_utf8(std::uint32_t value, char* buffer) {
  const int size = encode_utf8(value, buffer);
  if (size > 0) buffer[size] = '\0';
  return size;
}

int iso_to_utf8(const char* iso, char* buffer) {
  if (iso == nullptr || buffer == nullptr) return -1;
  std::uint16_t uc2 = 0;
  assert(iso_to_uc2(*iso, &uc2));
  const int ret = uc2_to_utf8(uc2, buffer);
  assert(ret > 0);
  return ret;
}

// ---- whole texts

char* utf8string_to_iso(const char* utf8string, char* buffer, std::size_t size,
                        const char* replacement) {
  if (utf8string == nullptr || buffer == nullptr) return nullptr;
  const std::size_t length = std::strlen(utf8string);
  iso_writer out(buffer, size, replacement);
  char iso = 0;
  int mod = 0;
  for (std::size_t i = 0; i < length && out.has_room(); out.put(iso, mod)) {
    assert(utf8_to_iso(utf8string, &i, &iso, &mod));
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
  char u8[5];
  int runlen = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    assert((runlen = iso_to_utf8(p, u8)) > 0);
    size += static_cast<std::size_t>(runlen);
  }
  return size;
}

char* isostring_to_utf8(const char* text, char* buffer, std::size_t size) {
  if (text == nullptr || buffer == nullptr) return nullptr;
  std::size_t count = 0;
  char u8[5];
  int runlen = 0;
  for (const char* p = text; *p != '\0' && count < size; ++p) {
    assert((runlen = iso_to_utf8(p, u8)) > 0);
    const std::size_t run = static_cast<std::size_t>(runlen);
    if (run + count >= size) break;
    std::memcpy(buffer + count, u8, run);
    count += run;
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
  std::uint16_t* u = array;
  for (const char* p = text; *p != '\0' && u != array + size; ++p, ++u) {
    assert(iso_to_uc2(*p, u));
  }
  return terminate(array, static_cast<std::size_t>(u - array), size);
}

std::uint16_t* isostring_to_uc2_alloc(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return isostring_to_uc2(text, static_cast<std::uint16_t*>(std::malloc(2 * size)), size);
}

char* uc2array_to_iso(const std::uint16_t* uc2array, std::size_t count, char* buffer,
                      std::size_t size, const char* replacement) {
  if (uc2array == nullptr || buffer == nullptr) return nullptr;
  iso_writer out(buffer, size, replacement);
  char iso = 0;
  int mod = 0;
  for (std::size_t i = 0; i < count && out.has_room(); ++i) {
    assert(uc2_to_iso(uc2array[i], &iso, &mod));
    out.put(iso, mod);
  }
  return out.finish();
}

char* uc2array_to_iso_alloc(const std::uint16_t* array, std::size_t count, char* replacement) {
  if (array == nullptr) return nullptr;
  cut_to_one_byte(replacement);
  return uc2array_to_iso(array, count, static_cast<char*>(std::malloc(count + 1)), count + 1,
                         replacement);
}

}  // namespace kvrpc
