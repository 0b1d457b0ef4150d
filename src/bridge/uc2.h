// Character conversion between UTF-8 (what JSON carries), UC2 (16-bit units) and ISO text (the
// single-byte code in which the fax server's records hold text).
//
// The two directions are not inverse. From a byte to a unit the code is ISO 8859-15, every byte
// has a unit. From a unit to a byte a hand-made table serves the server's code: 232 units have a
// byte, and among those without are the apostrophe U+0027 and most control characters.
//
// Bad input never fails a conversion: it becomes the replacement text or vanishes. The whole-text
// operations return null only for a null input or an exhausted allocator. What an *_alloc
// operation returns comes from malloc and belongs to the caller. Everything here is constant or
// the caller's, so any thread may call anything.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvrpc {

// What accompanies a byte that came from Unicode.
enum iso_modifier : int {
  iso_good = 0,     // the byte is good
  iso_vanish = 1,   // the character is to vanish
  iso_no_byte = 2,  // no ISO byte: the replacement stands for it
  iso_bad_utf8 = 3  // bad UTF-8: the replacement stands for it
};

// The UTF-8 form of an ISO byte, and those of all 256: iso_utf8[byte].
struct utf8_form {
  char bytes[3];
  std::uint8_t size;
};
struct utf8_forms {
  utf8_form form[256];
  constexpr const utf8_form& operator[](unsigned char iso) const { return form[iso]; }
};
extern const utf8_forms iso_utf8;

// ---- one character; 1, or 0 when an address is null

// 0 also for a bad sequence, whose unit is U+FFFD. The index moves in both cases.
int utf8_to_uc2(const char* text, std::size_t* index, std::uint16_t* unit);
int uc2_to_iso(std::uint16_t unit, char* iso, int* mod);
int utf8_to_iso(const char* text, std::size_t* index, char* iso, int* mod);
int iso_to_uc2(char iso, std::uint16_t* unit);

// The number of bytes written before the NUL; negative when the value has no form. `buffer` takes
// 5 bytes.
int uc2_to_utf8(std::uint32_t value, char* buffer);
int iso_to_utf8(const char* iso, char* buffer);

// ---- whole texts

// A buffer too small cuts the text and still ends it; a buffer of size 0 is left alone. A null or
// empty `replacement` drops what it would have replaced.
char* utf8string_to_iso(const char* utf8string, char* buffer, std::size_t size,
                        const char* replacement);
// A replacement longer than one byte is cut to one byte in the caller's memory.
char* utf8string_to_iso_alloc(const char* text, char* replacement);

char* isostring_to_utf8(const char* text, char* buffer, std::size_t size);
// The bytes of the UTF-8 form, its NUL included; 0 for null.
std::size_t isostring_utf8_size(const char* text);
char* isostring_to_utf8_alloc(const char* text);

// `size` counts units; the array ends with a zero unit.
std::uint16_t* isostring_to_uc2(const char* text, std::uint16_t* array, std::size_t size);
std::uint16_t* isostring_to_uc2_alloc(const char* text);

char* uc2array_to_iso(const std::uint16_t* array, std::size_t count, char* buffer, std::size_t size,
                      const char* replacement);
// Cuts the replacement as utf8string_to_iso_alloc does.
char* uc2array_to_iso_alloc(const std::uint16_t* array, std::size_t count, char* replacement);

}  // namespace kvrpc
