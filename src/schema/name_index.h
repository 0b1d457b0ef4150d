// Finding a procedure of a list by its name: a hash index that is constant data like the list.
//
// The number of slots is a power of two and at least four times the number of names. A name's slot
// is the first free one from its hash on, and a search ends at the first empty slot. If the list
// does not have the name, this is mostly the first slot that it inspects. Each slot has eight more
// bits of the hash, so nearly every name that is compared is the right one.
//
// The hash reads only the first and last eight bytes and the size of a name: it costs about as much
// as finding the size. Names that agree in all three have the same hash and are distinguished by
// the comparison.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvrpc {

struct name_slot {
  std::uint8_t tag;
  std::uint8_t place;  // of the name in its list, counted from 1; 0 for an empty slot
};

constexpr std::uint64_t name_byte(const char* bytes, std::size_t i) {
  return std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
}

// Returns eight bytes as one number, the same on every platform. Compilers make one load of this
// form.
constexpr std::uint64_t name_word(const char* b) {
  return name_byte(b, 0) | name_byte(b, 1) | name_byte(b, 2) | name_byte(b, 3) | name_byte(b, 4) |
         name_byte(b, 5) | name_byte(b, 6) | name_byte(b, 7);
}

constexpr std::uint64_t short_name_word(const char* bytes, std::size_t size) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < size; ++i) word |= name_byte(bytes, i);
  return word;
}

constexpr std::uint32_t name_hash(const char* name, std::size_t size) {
  const std::uint64_t first = size < 8 ? short_name_word(name, size) : name_word(name);
  const std::uint64_t last = size < 8 ? 0 : name_word(name + size - 8);
  const std::uint64_t mixed = (first * 0x9E3779B97F4A7C15u ^ (last + size)) * 0xD6E8FEB86659FD93u;
  return static_cast<std::uint32_t>(mixed >> 32);
}

constexpr std::uint8_t name_tag(std::uint32_t hash) {
  return static_cast<std::uint8_t>(hash >> 24);
}

constexpr std::size_t name_size(const char* name) {
  std::size_t size = 0;
  while (name[size] != '\0') ++size;
  return size;
}

constexpr std::uint32_t name_slots(std::size_t names) {
  std::uint32_t slots = 2;
  while (slots < 4 * names) slots *= 2;
  return slots;
}

// The index of N rows that have a `name`.
template <std::size_t N>
struct name_index {
  static_assert(N <= UINT8_MAX, "a place has one byte");
  static constexpr std::uint32_t mask = name_slots(N) - 1;
  name_slot slots[mask + 1]{};

  template <class Row>
  explicit constexpr name_index(const Row (&rows)[N]) {
    for (std::size_t i = 0; i < N; ++i) {
      const std::uint32_t hash = name_hash(rows[i].name, name_size(rows[i].name));
      std::uint32_t slot = hash & mask;
      while (slots[slot].place != 0) slot = (slot + 1) & mask;
      slots[slot] = {name_tag(hash), static_cast<std::uint8_t>(i + 1)};
    }
  }
};

}  // namespace kvrpc
