// Ways to walk the interface's tables in a test.
#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "schema/reachable.h"
#include "schema/types.h"

namespace kvrpc::test {

inline std::vector<const procedure*> procedures_of(const program_table& program) {
  std::vector<const procedure*> rows;
  for (std::uint32_t i = 0; i < program.family_count; ++i) {
    const procedure_list& list = *program.families[i];
    for (std::uint32_t row = 0; row < list.count; ++row) rows.push_back(&list.rows[row]);
  }
  return rows;
}

inline std::vector<const record_field*> fields_of(const record_type& record) {
  std::vector<const record_field*> fields;
  for (std::uint32_t i = 0; i < record.field_count; ++i) fields.push_back(&record.fields[i]);
  return fields;
}

// Returns null if there is none.
inline const record_type* record_named(const char* name) {
  for (const record_type* record : reachable_records()) {
    if (std::strcmp(record->name, name) == 0) return record;
  }
  return nullptr;
}

inline std::string with_count(const char* name, const wire_type& type) {
  return name + ("(" + std::to_string(type.count) + ")");
}

// A type as the tables write it.
inline std::string text_of(const wire_type& type) {
  switch (type.kind) {
    case wire_kind::chars:
    case wire_kind::schars:
      return with_count(wire_kind_name(type.kind), type);
    case wire_kind::counted_text:
      return with_count("text_of", type);
    case wire_kind::fixed_text:
      return with_count("opaque", type);
    case wire_kind::opaque:
      return with_count("opaque64", type);
    case wire_kind::pointer:
      return std::string("pointer_to ") + type.target->name;
    case wire_kind::vector:
      return with_count("vector_of", type) + " " + text_of(*type.item);
    case wire_kind::array:
      return std::string("array_of ") + type.target->name;
    case wire_kind::record:
      return type.target->name;
    default:
      return wire_kind_name(type.kind);
  }
}

}  // namespace kvrpc::test
