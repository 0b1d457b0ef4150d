// Conversion between UTF-8 (the text of JSON), UC2 (16-bit Unicode units) and ISO text (the
// single-byte code in which the fax server's records hold text).
//
// The two directions are not inverse. From a byte to a unit the code is ISO 8859-15, and every byte
// has a unit. From a unit to a byte a hand-made table serves the server's code: 232 units have a
// byte. Most control characters have none, nor has the apostrophe U+0027. For example, "it's"
// reaches the server as "it?s", while its byte 0x27 comes back as an apostrophe.
//
// Bad input never fails a conversion: it becomes the replacement text or vanishes. The conversions
// of whole texts return null only for a null input or if memory is out. What an *_alloc function
// returns comes from malloc and belongs to the caller. All data here is constant or the caller's,
// so any thread may call any function.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvrpc {

// Says how a Unicode character was converted to a byte.
enum iso_modifier : int {
  iso_good = 0,     // the byte is good
  iso_vanish = 1,   // the character must vanish
  iso_no_byte = 2,  // the character has no byte: the replacement takes its place
  iso_bad_utf8 = 3  // bad UTF-8: the replacement takes its place
};

// ---- one character
//
// Each returns 1, or 0 if an address is null.

// Also returns 0 for a bad sequence, whose unit is U+FFFD. Moves the index in both cases, by at
// least 1. For example, "\xE2\x82" followed by "a" moves it by 2, so that the "a" is read next.
int utf8_to_uc2(const char* text, std::size_t* index, std::uint16_t* unit);
// Surface: the module converts whole texts.
int uc2_to_iso(std::uint16_t unit, char* iso, int* mod);
int utf8_to_iso(const char* text, std::size_t* index, char* iso, int* mod);
int iso_to_uc2(char iso, std::uint16_t* unit);

// These two return the number of bytes written before the NUL, or a negative number if the value
// has no form. `buffer` must have room for 5 bytes.
int uc2_to_utf8(std::uint32_t value, char* buffer);
// Surface: as above.
int iso_to_utf8(const char* iso, char* buffer);

// ---- whole texts

// Converts `utf8string` into `buffer`, which has `size` bytes. A buffer that is too small truncates
// the text and still gets its NUL; a buffer of size 0 is not touched. A null or empty `replacement`
// drops what it would have replaced.
char* utf8string_to_iso(const char* utf8string, char* buffer, std::size_t size,
                        const char* replacement);
// The same for a text of `length` bytes with a NUL after them, and no null pointers. Returns the
// length of the ISO text.
std::size_t utf8_text_to_iso(const char* text, std::size_t length, char* buffer, std::size_t size,
                             const char* replacement);
// Surface: arguments are converted in place. Shortens a replacement of more than one byte to one
// byte, in the caller's memory.
char* utf8string_to_iso_alloc(const char* text, char* replacement);

char* isostring_to_utf8(const char* text, char* buffer, std::size_t size);
// Returns the size of the UTF-8 form, its NUL included, or 0 for null.
std::size_t isostring_utf8_size(const char* text);
// Surface: replies are converted in place.
char* isostring_to_utf8_alloc(const char* text);

// `size` counts units. The array ends with a zero unit.
std::uint16_t* isostring_to_uc2(const char* text, std::uint16_t* array, std::size_t size);
// Surface: no caller in the module.
std::uint16_t* isostring_to_uc2_alloc(const char* text);

char* uc2array_to_iso(const std::uint16_t* array, std::size_t count, char* buffer, std::size_t size,
                      const char* replacement);
// Shortens the replacement as utf8string_to_iso_alloc does.
// Surface: no caller in the module.
char* uc2array_to_iso_alloc(const std::uint16_t* array, std::size_t count, char* replacement);

}  // namespace kvrpc
