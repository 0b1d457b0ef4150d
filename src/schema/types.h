// The vocabulary of the interface tables: wire types, records, unions, list nodes, procedures.
//
// A record is data and has no C++ struct: a table of fields in wire order, which is the order in
// memory and in JSON text as well. Offsets and sizes are computed at compile time with the layout
// of a 32-bit platform (natural alignment of at most 4, zero padding) but for the width of
// pointers; a pointer may therefore stand at any multiple of 4 and is moved with memcpy.
//
//   type            in memory                    on the wire               in JSON
//   nothing         none                         none                      anything / null
//   long_, int_     signed 32 bits               4 bytes                   number
//   u_long_         unsigned 32 bits             4 bytes                   number
//   short_          signed 16 bits               4 bytes, sign-extended    number
//   bool_           32 bits                      4 bytes                   true, false
//   chars(n)        n bytes, text to its NUL     n units of 4 bytes        string
//   schars(n)       as chars(n)                  n units of 4 bytes        string
//   text            count, pointer               counted bytes             string
//   text_of(n)      count, pointer               counted bytes, n at most  string
//   opaque(n)       n bytes                      n bytes, padded           string
//   opaque64(n)     n bytes                      n bytes, padded           Base64 string
//   blob            count, pointer               counted bytes             Base64 string
//   string          pointer                      counted string            string
//   pointer_to(R)   pointer                      bool, then R              object, null
//   list_next       pointer to the own record    bool, then the record     object, null
//   vector_of(T, n) n items                      n items                   array of n
//   array_of(R)     count, pointer               count, items              array
//   inline_(R)      R's fields                   R's fields                object
//
// A counted text's count includes its NUL.
#pragma once

#include <cstddef>
#include <cstdint>

#include "schema/name_index.h"

namespace kvrpc {

enum class wire_kind : std::uint8_t {
  nothing,
  long_,
  int_,
  u_long_,
  short_,
  bool_,
  chars,
  schars,
  text,
  counted_text,
  fixed_text,
  opaque,
  blob,
  string,
  pointer,
  list_next,
  vector,
  array,
  record,
  unspecified,  // a record that is not described: nothing converts to it
};

// The name of a kind, as `kvrpc-schema` prints it.
const char* wire_kind_name(wire_kind kind);

struct record_type;

constexpr std::uint32_t pointer_size = sizeof(void*);

struct wire_type {
  wire_kind kind = wire_kind::nothing;
  std::uint32_t count = 0;              // n of chars(n), text_of(n), opaque(n), vector_of(T, n)
  std::uint32_t size = 0;               // bytes in memory
  std::uint32_t align = 1;              // 1, 2 or 4
  std::uint32_t wire_size = 0;          // bytes on the wire, or variable_size
  const record_type* target = nullptr;  // R
  const wire_type* item = nullptr;      // T of a vector
};

constexpr std::uint32_t variable_size = 0xFFFFFFFFu;

// The bytes that are copied for a label of any size, with or without its comma.
constexpr std::uint32_t label_room = 32;

struct record_field {
  const char* key = "";
  wire_type type{};
  std::int32_t value = 0;  // of a union's arm: the discriminant that selects it

  // Computed by the record's table.
  std::uint32_t offset = 0;
  std::uint32_t run_wire = 0;  // wire bytes of this and the fields behind it that have a fixed size
  std::uint32_t run_text = 0;  // most bytes of JSON text of this and the plain fields behind it
  std::uint32_t label_size = 0;
  char label[label_room + 1] = {};  // `,"key":` and a NUL
};

struct record_type {
  const char* name;
  bool is_union;
  const char* discriminant;    // of a union: the key of its first field, a 32-bit int
  const record_field* fields;  // of a union: its arms
  std::uint32_t field_count;
  std::uint32_t size;
  std::uint32_t align;
  std::uint32_t wire_size;       // or variable_size
  std::int32_t next_field;       // index of the list_next member, or -1
  const record_field* selector;  // of a union: its discriminant as a field
  std::uint32_t text_room = 0;   // most bytes of JSON text, when all members are plain
};

// The most bytes that the JSON text of a plain value takes: a scalar, chars(n), or a structure of
// plain members. 0 for others.
constexpr std::uint32_t plain_text_room(const wire_type& type) {
  switch (type.kind) {
    case wire_kind::long_:
    case wire_kind::int_:
    case wire_kind::u_long_:
    case wire_kind::short_:
    case wire_kind::bool_:
      return 12;
    case wire_kind::chars:
    case wire_kind::schars:
      return 3 * type.count + 16;
    case wire_kind::record:
      return type.target->text_room;
    default:
      return 0;
  }
}

// The arm of a union that the value of its discriminant selects, or null.
inline const record_field* arm_of(const record_type& record, std::int32_t value) {
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    if (record.fields[i].value == value) return &record.fields[i];
  }
  return nullptr;
}

// ---- types

namespace wire {

inline constexpr wire_type nothing{};
inline constexpr wire_type long_{wire_kind::long_, 0, 4, 4, 4};
inline constexpr wire_type int_{wire_kind::int_, 0, 4, 4, 4};
inline constexpr wire_type u_long_{wire_kind::u_long_, 0, 4, 4, 4};
inline constexpr wire_type short_{wire_kind::short_, 0, 2, 2, 4};
inline constexpr wire_type bool_{wire_kind::bool_, 0, 4, 4, 4};
inline constexpr wire_type text{wire_kind::text, 0, 4 + pointer_size, 4, variable_size};
inline constexpr wire_type blob{wire_kind::blob, 0, 4 + pointer_size, 4, variable_size};
inline constexpr wire_type string{wire_kind::string, 0, pointer_size, 4, variable_size};
inline constexpr wire_type list_next{wire_kind::list_next, 0, pointer_size, 4, variable_size};
inline constexpr wire_type unspecified{wire_kind::unspecified, 0, 0, 1, variable_size};

constexpr wire_type chars(std::uint32_t n) { return {wire_kind::chars, n, n, 1, 4 * n}; }
constexpr wire_type schars(std::uint32_t n) { return {wire_kind::schars, n, n, 1, 4 * n}; }
constexpr wire_type text_of(std::uint32_t n) {
  return {wire_kind::counted_text, n, 4 + pointer_size, 4, variable_size};
}
constexpr wire_type opaque(std::uint32_t n) {
  return {wire_kind::fixed_text, n, n, 1, (n + 3) / 4 * 4};
}
constexpr wire_type opaque64(std::uint32_t n) {
  return {wire_kind::opaque, n, n, 1, (n + 3) / 4 * 4};
}
constexpr wire_type pointer_to(const record_type& target) {
  return {wire_kind::pointer, 0, pointer_size, 4, variable_size, &target};
}
constexpr wire_type array_of(const record_type& target) {
  return {wire_kind::array, 0, 4 + pointer_size, 4, variable_size, &target};
}
constexpr wire_type inline_(const record_type& target) {
  return {wire_kind::record, 0, target.size, target.align, target.wire_size, &target};
}
// `item` is kept by address: a named constant, as in `constexpr wire_type line = chars(81);`.
constexpr wire_type vector_of(const wire_type& item, std::uint32_t n) {
  return {wire_kind::vector,
          n,
          n * item.size,
          item.align,
          item.wire_size == variable_size ? variable_size : n * item.wire_size,
          nullptr,
          &item};
}

}  // namespace wire

// ---- records

constexpr std::uint32_t align_up(std::uint32_t offset, std::uint32_t align) {
  return (offset + align - 1) / align * align;
}

// A record with its fields: constexpr structure name{"name", {{"key", type}, ...}};
template <std::size_t N>
struct structure : record_type {
  record_field table[N]{};

  constexpr structure(const char* record_name, const record_field (&rows)[N])
      : record_type{record_name, false, nullptr, nullptr, N, 0, 1, 0, -1, nullptr} {
    for (std::size_t i = 0; i < N; ++i) add(i, rows[i]);
    size = align_up(size, align);
    sum_runs();
    fields = table;
  }
  structure(const structure&) = delete;
  structure& operator=(const structure&) = delete;

 private:
  constexpr void add(std::size_t i, const record_field& row) {
    table[i] = row;
    set_label(table[i]);
    table[i].offset = align_up(size, row.type.align);
    size = table[i].offset + row.type.size;
    if (row.type.align > align) align = row.type.align;
    if (row.type.kind == wire_kind::list_next) next_field = static_cast<std::int32_t>(i);
    wire_size = wire_size == variable_size || row.type.wire_size == variable_size
                    ? variable_size
                    : wire_size + row.type.wire_size;
  }

  constexpr void sum_runs() {
    std::uint32_t wire = 0;
    std::uint32_t text = 0;
    bool plain = true;
    for (std::size_t i = N; i-- > 0;) {
      const std::uint32_t room = plain_text_room(table[i].type);
      wire = table[i].type.wire_size == variable_size ? 0 : wire + table[i].type.wire_size;
      text = room == 0 ? 0 : text + label_room + room;
      plain = plain && room != 0;
      table[i].run_wire = wire;
      table[i].run_text = text;
    }
    text_room = plain ? text + 2 : 0;
  }

 public:
  static constexpr void set_label(record_field& row) {
    std::uint32_t n = 0;
    row.label[n++] = ',';
    row.label[n++] = '"';
    for (const char* c = row.key; *c != '\0'; ++c) row.label[n++] = *c;
    row.label[n++] = '"';
    row.label[n++] = ':';
    row.label[n] = '\0';  // lies outside, and so does not compile, where the label has no room
    row.label_size = n;
  }
};
template <std::size_t N>
structure(const char*, const record_field (&)[N]) -> structure<N>;

// One row of a union: the discriminant's value, the arm's key, its type.
struct arm {
  std::int32_t value;
  const char* key;
  wire_type type;
};

// A union: constexpr choice name{"name", "selection", {{0, "v0", inline_(name_v0)}, ...}};
template <std::size_t N>
struct choice : record_type {
  record_field table[N]{};
  record_field discriminant_field{};

  constexpr choice(const char* record_name, const char* key, const arm (&rows)[N])
      : record_type{record_name, true, key, nullptr, N, 4, 4, variable_size, -1, nullptr} {
    for (std::size_t i = 0; i < N; ++i) {
      table[i].key = rows[i].key;
      table[i].type = rows[i].type;
      table[i].value = rows[i].value;
      table[i].offset = 4;
      structure<N>::set_label(table[i]);
      if (4 + rows[i].type.size > size) size = 4 + rows[i].type.size;
    }
    size = align_up(size, 4);
    fields = table;
    discriminant_field.key = key;
    discriminant_field.type = wire::int_;
    structure<N>::set_label(discriminant_field);
    selector = &discriminant_field;
  }
  choice(const choice&) = delete;
  choice& operator=(const choice&) = delete;
};
template <std::size_t N>
choice(const char*, const char*, const arm (&)[N]) -> choice<N>;

// ---- procedures

struct procedure {
  std::uint32_t number;
  const char* name;
  wire_type argument;
  wire_type result;
};

// Some procedures of one program, as one family's file lists them, with an index of their names.
struct procedure_list {
  const procedure* rows;
  std::uint32_t count;
  std::uint32_t slot_mask;
  const name_slot* slots;
};

template <const auto& table>
inline constexpr name_index index_of{table.rows};

// Makes a list of the constant array `rows` of `table`, as in
// `constexpr procedure_list sessions = list_of<alpha_rows>();`.
template <const auto& table>
constexpr procedure_list list_of() {
  constexpr std::size_t count = sizeof table.rows / sizeof table.rows[0];
  return {table.rows, static_cast<std::uint32_t>(count), name_index<count>::mask,
          index_of<table>.slots};
}

// A server program: its procedures, family by family, in the order in which they are listed.
struct program_table {
  const char* name;
  const procedure_list* const* families;
  std::uint32_t family_count;
};

// alpha, lambda, nue, omega, sigma, theta.
constexpr std::uint32_t program_count = 6;
extern const program_table programs[program_count];

// Return the program or procedure of exactly this name, or null.
const program_table* find_program(const char* name);
const procedure* find_procedure(const program_table& program, const char* name);

}  // namespace kvrpc
