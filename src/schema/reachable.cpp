// Walks from the procedures through all fields to the records that they use.
#include "schema/reachable.h"

namespace kvrpc {
namespace {

bool contains(const record_list& list, const record_type* record) {
  for (const record_type* known : list) {
    if (known == record) return true;
  }
  return false;
}

void visit(record_list& list, const wire_type& type) {
  if (const wire_type* item = item_of(type)) visit(list, *item);
  const record_type* record = target_of(type);
  if (record == nullptr || list.count == record_list::capacity || contains(list, record)) return;
  list.items[list.count++] = record;
  for (std::uint32_t i = 0; i < record->field_count; ++i) visit(list, record->fields[i].type);
}

void visit_all(record_list& list, const procedure_list& procedures) {
  for (std::uint32_t i = 0; i < procedures.count; ++i) {
    visit(list, procedures.rows[i].argument);
    visit(list, procedures.rows[i].result);
  }
}

}  // namespace

record_list reachable_records() {
  record_list list{};
  for (const program_table& program : programs) {
    for (std::uint32_t i = 0; i < program.family_count; ++i) visit_all(list, *program.families[i]);
  }
  return list;
}

}  // namespace kvrpc
