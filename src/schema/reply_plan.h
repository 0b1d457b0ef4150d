// What the tables hold for the writer of replies alone (bridge/result_reader.cpp): ready-made
// labels, the runs in which it reads a record, and the room that a run's text needs. It is computed
// with the tables because constant data costs nothing there. Nothing else may depend on it.
//
// A run is a row of fields of fixed size, followed by the label and the opening unit of the field
// of variable size that ends it: the bool of a pointer or link, a length, a count, a discriminant.
//
//   wire   [ fixed fields ][ unit ] what the unit announces [ fixed fields ][ unit ] ...
//   text   {"a":1,"b":"x","first":  {...}                   ,"c":2,"next":
#pragma once

#include <cstdint>
#include <cstdlib>

namespace kvrpc {

// Ends the computation of a table. It is not constexpr, so a constant table does not compile, and
// the compiler's message shows the reason.
[[noreturn]] inline void bad_table(const char* /*reason*/) { std::abort(); }

// The most bytes that a writer may touch for one value, from the value's first byte. Each bound is
// derived and asserted beside its writer in bridge/value_text.h, but for the last three: those are
// the numbers of bytes that bridge/result_reader.cpp writes.
namespace reply_room {

constexpr std::uint32_t null = 4;
constexpr std::uint32_t boolean = 5;
constexpr std::uint32_t number = 11;
constexpr std::uint32_t text(std::uint32_t chars) { return 3 * chars + 16; }
constexpr std::uint32_t base64(std::uint32_t bytes) { return (bytes + 2) / 3 * 4 + 2; }
constexpr std::uint32_t label = 32;  // every label is copied with a fixed size
constexpr std::uint32_t separator = 2;
constexpr std::uint32_t brackets = 2;

}  // namespace reply_room

struct reply_plan {
  std::uint16_t run_end = 0;  // index of the first field of variable size, from this one on
  std::uint16_t label_size = 0;
  std::uint32_t run_wire = 0;  // wire bytes from this field up to it, its opening unit included
  std::uint32_t run_room = 0;  // most bytes of text from this field up to it, its label included
  char label[reply_room::label + 1] = {};  // `,"key":`, or `{"key":` of the first field, and a NUL
};

// Returns a plan with nothing but the label of a key, for example `,"anz":`. `before` is the comma,
// or the bracket that opens the object.
constexpr reply_plan labelled_plan(char before, const char* key) {
  reply_plan plan;
  std::uint16_t n = 0;
  plan.label[n++] = before;
  plan.label[n++] = '"';
  for (; *key != '\0'; ++key) {
    if (n + 2 == reply_room::label) bad_table("the key is too long");
    plan.label[n++] = *key;
  }
  plan.label[n++] = '"';
  plan.label[n++] = ':';
  plan.label_size = n;
  return plan;
}

}  // namespace kvrpc
