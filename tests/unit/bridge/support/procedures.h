// All procedures of the interface whose records are described.
#pragma once

#include <vector>

#include "schema/types.h"

namespace kvrpc::test {

inline bool is_specified(const wire_type& type) {
  if (type.kind == wire_kind::unspecified) return false;
  if (item_of(type) != nullptr) return is_specified(*item_of(type));
  const record_type* const record = target_of(type);
  for (std::uint32_t i = 0; record != nullptr && i < record->field_count; ++i) {
    if (!is_specified(record->fields[i].type)) return false;
  }
  return true;
}

inline std::vector<procedure> specified_procedures() {
  std::vector<procedure> result;
  for (const program_table& program : programs) {
    for (std::uint32_t i = 0; i < program.family_count; ++i) {
      const procedure_list& list = *program.families[i];
      for (const procedure* row = list.rows; row != list.rows + list.count; ++row) {
        if (is_specified(row->argument) && is_specified(row->result)) result.push_back(*row);
      }
    }
  }
  return result;
}

}  // namespace kvrpc::test
