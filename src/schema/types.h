// The vocabulary of the interface tables: wire types, records, unions, list nodes, procedures.
//
// A record is data and has no C++ struct: a table of fields in wire order, which is the order in
// memory and in JSON text as well. Offsets and sizes are computed at compile time with the layout
// of a 32-bit platform (natural alignment of at most 4, zero padding), except for the width of
// pointers. So a pointer may be at any multiple of 4 and is copied with memcpy.
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
//   vector_of(T, n) n elements                   n elements                array of n
//   array_of(R)     count, pointer               count, elements           array
//   inline_(R)      R's fields                   R's fields                object
//
// A counted text's count includes its NUL.
#pragma once

#include <cstddef>
#include <cstdint>

#include "schema/name_index.h"
#include "schema/reply_plan.h"

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
  unspecified,  // a record that is not described: nothing converts to it
  vector,
  array,
  record,
};

// Returns the name of a kind, as `kvrpc-schema` prints it.
const char* wire_kind_name(wire_kind kind);

struct record_type;

constexpr std::uint32_t pointer_size = sizeof(void*);

struct wire_type {
  wire_kind kind = wire_kind::nothing;
  std::uint8_t align = 1;       // 1, 2 or 4
  std::uint8_t opening = 0;     // of a type of variable size: the wire bytes of its first unit
  std::uint32_t count = 0;      // n of chars(n), text_of(n), opaque(n), vector_of(T, n)
  std::uint32_t size = 0;       // bytes in memory
  std::uint32_t wire_size = 0;  // bytes on the wire, or variable_size
  std::uint32_t reply_room = reply_room::null;  // see reply_plan.h; 0 for a type of variable size
  union {  // one pointer, because the tables hold nearly two thousand types
    const record_type* target = nullptr;  // R, or null if there is none
    const wire_type* item;                // T of a vector
  };

  constexpr wire_type() {}
  constexpr wire_type(wire_kind type_kind, std::uint8_t alignment, std::uint8_t opening_unit,
                      std::uint32_t elements, std::uint32_t memory, std::uint32_t wire,
                      std::uint32_t room, const record_type* record = nullptr)
      : kind(type_kind),
        align(alignment),
        opening(opening_unit),
        count(elements),
        size(memory),
        wire_size(wire),
        reply_room(room),
        target(record) {}
  constexpr wire_type(std::uint8_t alignment, std::uint32_t elements, std::uint32_t memory,
                      std::uint32_t wire, std::uint32_t room, const wire_type& of)
      : kind(wire_kind::vector),
        align(alignment),
        count(elements),
        size(memory),
        wire_size(wire),
        reply_room(room),
        item(&of) {}
};

// Return what a type of any kind leads to, or null: the type of a vector's elements, or a record.
inline const wire_type* item_of(const wire_type& type) {
  return type.kind == wire_kind::vector ? type.item : nullptr;
}
inline const record_type* target_of(const wire_type& type) {
  return type.kind == wire_kind::vector ? nullptr : type.target;
}

constexpr std::uint32_t variable_size = 0xFFFFFFFFu;

struct record_field {
  const char* key = "";
  wire_type type;
  std::int32_t value = 0;  // of a union's arm: the discriminant that selects it

  // Computed by the record's table.
  std::uint32_t offset = 0;
  reply_plan reply{};
};

struct record_type {
  const char* name;
  std::uint32_t field_count;
  bool is_union;
  std::uint8_t align;
  std::uint32_t size;
  std::uint32_t wire_size;                 // or variable_size
  std::int32_t next_field = -1;            // index of the list_next field, or -1
  std::uint32_t reply_room = 0;            // see reply_plan.h; 0 for a record of variable size
  const record_field* fields = nullptr;    // of a union: its arms
  const record_field* selector = nullptr;  // of a union: its discriminant, a 32-bit int
};

// Returns the arm of a union that the value of its discriminant selects, or null.
inline const record_field* arm_of(const record_type& record, std::int32_t value) {
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    if (record.fields[i].value == value) return &record.fields[i];
  }
  return nullptr;
}

// ---- types

namespace wire {

// A type whose wire form has a fixed size; `room` bounds its text in a reply.
constexpr wire_type fixed(wire_kind kind, std::uint32_t count, std::uint32_t size,
                          std::uint8_t align, std::uint32_t wire_size, std::uint32_t room) {
  return {kind, align, 0, count, size, wire_size, room};
}
// A type whose wire form begins with one unit, which says what follows: a count, or a bool.
constexpr wire_type opened(wire_kind kind, std::uint32_t count, std::uint32_t size,
                           const record_type* target = nullptr) {
  return {kind, 4, 4, count, size, variable_size, 0, target};
}
constexpr std::uint32_t padded(std::uint32_t size) { return (size + 3) / 4 * 4; }
constexpr std::uint32_t block_size = 4 + pointer_size;  // a count and a pointer

inline constexpr wire_type nothing{};
inline constexpr wire_type long_ = fixed(wire_kind::long_, 0, 4, 4, 4, reply_room::number);
inline constexpr wire_type int_ = fixed(wire_kind::int_, 0, 4, 4, 4, reply_room::number);
inline constexpr wire_type u_long_ = fixed(wire_kind::u_long_, 0, 4, 4, 4, reply_room::number);
inline constexpr wire_type short_ = fixed(wire_kind::short_, 0, 2, 2, 4, reply_room::number);
inline constexpr wire_type bool_ = fixed(wire_kind::bool_, 0, 4, 4, 4, reply_room::boolean);
inline constexpr wire_type text = opened(wire_kind::text, 0, block_size);
inline constexpr wire_type blob = opened(wire_kind::blob, 0, block_size);
inline constexpr wire_type string = opened(wire_kind::string, 0, pointer_size);
inline constexpr wire_type list_next = opened(wire_kind::list_next, 0, pointer_size);
inline constexpr wire_type unspecified{wire_kind::unspecified, 1, 0, 0, 0, variable_size, 0};

constexpr wire_type chars(std::uint32_t n) {
  return fixed(wire_kind::chars, n, n, 1, 4 * n, reply_room::text(n));
}
constexpr wire_type schars(std::uint32_t n) {
  return fixed(wire_kind::schars, n, n, 1, 4 * n, reply_room::text(n));
}
constexpr wire_type text_of(std::uint32_t n) {
  return opened(wire_kind::counted_text, n, block_size);
}
constexpr wire_type opaque(std::uint32_t n) {
  return fixed(wire_kind::fixed_text, n, n, 1, padded(n), reply_room::text(n));
}
constexpr wire_type opaque64(std::uint32_t n) {
  return fixed(wire_kind::opaque, n, n, 1, padded(n), reply_room::base64(n));
}
constexpr wire_type pointer_to(const record_type& target) {
  return opened(wire_kind::pointer, 0, pointer_size, &target);
}
constexpr wire_type array_of(const record_type& target) {
  return opened(wire_kind::array, 0, block_size, &target);
}
// A union opens with its discriminant; a structure of variable size has no unit of its own.
constexpr wire_type inline_(const record_type& target) {
  return {wire_kind::record,
          target.align,
          static_cast<std::uint8_t>(target.is_union ? 4 : 0),
          0,
          target.size,
          target.wire_size,
          target.reply_room,
          &target};
}
// `item` is the type of an element. It must be a named constant, because its address is kept. For
// example, `constexpr wire_type line = chars(81);`.
constexpr wire_type vector_of(const wire_type& item, std::uint32_t n) {
  const bool variable = item.wire_size == variable_size;
  return {item.align,
          n,
          n * item.size,
          variable ? variable_size : n * item.wire_size,
          variable ? 0 : n * (item.reply_room + reply_room::separator) + reply_room::brackets,
          item};
}

}  // namespace wire

// ---- records

constexpr std::uint32_t align_up(std::uint32_t offset, std::uint32_t align) {
  return (offset + align - 1) / align * align;
}

// A record with its fields.
template <std::size_t N>
struct structure : record_type {
  record_field table[N]{};

  constexpr structure(const char* record_name, const record_field (&rows)[N])
      : record_type{record_name, N, false, 1, 0, 0} {
    for (std::size_t i = 0; i < N; ++i) add(i, rows[i]);
    size = align_up(size, align);
    plan_runs();
    fields = table;
  }
  structure(const structure&) = delete;
  structure& operator=(const structure&) = delete;

 private:
  constexpr void add(std::size_t i, const record_field& row) {
    table[i] = row;
    table[i].reply = labelled_plan(i == 0 ? '{' : ',', row.key);
    table[i].offset = align_up(size, row.type.align);
    size = table[i].offset + row.type.size;
    if (row.type.align > align) align = row.type.align;
    if (row.type.kind == wire_kind::list_next) next_field = static_cast<std::int32_t>(i);
    wire_size = wire_size == variable_size || row.type.wire_size == variable_size
                    ? variable_size
                    : wire_size + row.type.wire_size;
  }

  constexpr void plan_runs() {
    reply_plan next{};  // of the field after this one, or of the record's end
    next.run_end = static_cast<std::uint16_t>(N);
    next.run_room = reply_room::label;
    for (std::size_t i = N; i-- > 0;) {
      const wire_type& type = table[i].type;
      reply_plan& plan = table[i].reply;
      const bool fixed = type.wire_size != variable_size;
      if (fixed && type.reply_room == 0) bad_table("a type of fixed size needs its room");
      plan.run_end = fixed ? next.run_end : static_cast<std::uint16_t>(i);
      plan.run_wire = fixed ? next.run_wire + type.wire_size : type.opening;
      plan.run_room = reply_room::label + (fixed ? type.reply_room + next.run_room : 0);
      next = plan;
    }
    reply_room = wire_size == variable_size ? 0 : next.run_room;
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

// A union with its arms.
template <std::size_t N>
struct choice : record_type {
  record_field table[N]{};
  record_field discriminant_field{};

  constexpr choice(const char* record_name, const char* key, const arm (&rows)[N])
      : record_type{record_name, N, true, 4, 4, variable_size} {
    for (std::size_t i = 0; i < N; ++i) {
      table[i].key = rows[i].key;
      table[i].type = rows[i].type;
      table[i].value = rows[i].value;
      table[i].offset = 4;
      table[i].reply = labelled_plan(',', rows[i].key);
      if (4 + rows[i].type.size > size) size = 4 + rows[i].type.size;
    }
    size = align_up(size, 4);
    fields = table;
    discriminant_field.key = key;
    discriminant_field.type = wire::int_;
    discriminant_field.reply = labelled_plan('{', key);
    selector = &discriminant_field;
  }
  choice(const choice&) = delete;
  choice& operator=(const choice&) = delete;
};
template <std::size_t N>
choice(const char*, const char*, const arm (&)[N]) -> choice<N>;

// Define the constant record or union `name`, for example:
//
//   KVRPC_RECORD(get_e_res,
//       {"anz",   long_},
//       {"first", pointer_to(get_e_res_node)},
//   );
//   KVRPC_UNION(del_gwuser_arg, "selection",
//       {0, "v0", inline_(del_gwuser_arg_v0)},
//   );
//
// They are macros so that a record's name is written once. In a header, `inline` comes before them.
// With `structure name{...}`, GCC would put the first record of each size into writable memory,
// because its type is not complete when the variable is declared.
// clang-format off
#define KVRPC_RECORD(name, ...) constexpr auto name = structure{#name, {__VA_ARGS__}}
#define KVRPC_UNION(name, selector, ...) \
  constexpr auto name = choice{#name, selector, {__VA_ARGS__}}
// clang-format on

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

// Every argument of a list fits in this many bytes, with one byte to spare, so that a call can keep
// its argument on the stack.
constexpr std::size_t argument_room = 4096;

template <std::size_t N>
constexpr bool arguments_fit(const procedure (&rows)[N]) {
  for (const procedure& row : rows) {
    if (row.argument.size >= argument_room) return false;
  }
  return true;
}

// Makes a list of the constant `table`, which has `rows` and their `index`, for example
// `constexpr procedure_list sessions = list_of<alpha_rows>();`.
template <const auto& table>
constexpr procedure_list list_of() {
  static_assert(arguments_fit(table.rows), "an argument is larger than argument_room");
  constexpr std::size_t count = sizeof table.rows / sizeof table.rows[0];
  return {table.rows, static_cast<std::uint32_t>(count), table.index.mask, table.index.slots};
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
