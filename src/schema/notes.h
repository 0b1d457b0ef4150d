// What the names of the interface mean, in one line each, for people.
//
// Every procedure's row carries a note. notes.cpp has the groups in which a person looks for a
// procedure, glossary.cpp the meanings of the keys. Only `kvrpc-schema` and tests use these tables.
// The module contains none of them: a note's text is an array in a table of its own, and the linker
// drops tables that nothing refers to.
//
// A note ends with a full stop and has at most 90 ASCII characters. It must not give values of
// numeric codes, because none are known.
#pragma once

#include "schema/types.h"

namespace kvrpc {

// How sure a note is: the interface says it; it is read from a name; nothing supports a reading.
enum class note_basis : std::uint8_t { stated, name, unknown };

struct note {
  note_basis basis = note_basis::unknown;
  char text[91] = {};
  char see[91] = {};  // related procedures, separated by blanks
};

template <std::size_t N, std::size_t S>
constexpr note note_of(note_basis basis, const char (&text)[N], const char (&see)[S]) {
  static_assert(N <= sizeof(note::text) && S <= sizeof(note::see));
  note result{};
  result.basis = basis;
  for (std::size_t i = 0; i < N; ++i) result.text[i] = text[i];
  for (std::size_t i = 0; i < S; ++i) result.see[i] = see[i];
  return result;
}

template <std::size_t N, std::size_t S = 1>
constexpr note stated(const char (&text)[N], const char (&see)[S] = "") {
  return note_of(note_basis::stated, text, see);
}
template <std::size_t N, std::size_t S = 1>
constexpr note from_name(const char (&text)[N], const char (&see)[S] = "") {
  return note_of(note_basis::name, text, see);
}
template <std::size_t N, std::size_t S = 1>
constexpr note unknown(const char (&text)[N], const char (&see)[S] = "") {
  return note_of(note_basis::unknown, text, see);
}

// A procedure as its family's file lists it: the row that the module uses, and its note.
struct noted_procedure : procedure {
  note meaning;
};

// A family's rows without their notes, and the index of their names. The index must be a member: as
// a variable template over the rows it would be one object for all families with rows of one name,
// because g++ 14 gives such a template external linkage even if its argument has none.
template <std::size_t N>
struct procedure_rows {
  procedure rows[N]{};
  name_index<N> index;

  explicit constexpr procedure_rows(const noted_procedure (&noted)[N]) : index(noted) {
    for (std::size_t i = 0; i < N; ++i) rows[i] = noted[i];
  }
};

template <std::size_t N>
constexpr procedure_rows<N> without_notes(const noted_procedure (&noted)[N]) {
  return procedure_rows<N>(noted);
}

struct noted_list {
  const noted_procedure* rows;
  std::uint32_t count;
};

template <std::size_t N>
constexpr noted_list notes_of(const noted_procedure (&rows)[N]) {
  return {rows, static_cast<std::uint32_t>(N)};
}

// The note of the procedure of exactly this name, or null.
const note* find_note(const char* procedure_name);

// Procedures that belong together, in the order of use. Each procedure is in one group.
struct procedure_group {
  const char* name;
  const char* text;        // one sentence, or empty
  const char* start;       // where a newcomer begins, separated by blanks
  const char* procedures;  // all, separated by blanks
};

// A later form of a procedure, which a new script should prefer if its server has it.
struct later_form {
  const char* earlier;
  const char* later;
  const char* adds;
};

struct key_note {
  const char* record;  // empty: in every record that has no row of its own
  const char* key;
  note meaning;
};

// Only of records whose note does not follow from the tables, as "Argument of a_login_1: ..." does.
struct record_note {
  const char* record;
  note meaning;
};

struct group_list {
  const procedure_group* rows;
  std::uint32_t count;
};
struct later_form_list {
  const later_form* rows;
  std::uint32_t count;
};
struct key_note_list {
  const key_note* rows;
  std::uint32_t count;
};
struct record_note_list {
  const record_note* rows;
  std::uint32_t count;
};

extern const group_list procedure_groups;
extern const later_form_list later_forms;
extern const key_note_list key_notes;
extern const record_note_list record_notes;

}  // namespace kvrpc
