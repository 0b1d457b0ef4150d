// Computes from the tables the most bytes that the window must hold: those on the wire from the
// start of an allocation, or from a pointer, up to the next pointer, across all records.
#include "bridge/wire_window.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "schema/types.h"

namespace kvrpc::test {
namespace {

// The bytes since the last pointer, and the most bytes between two pointers so far.
struct stretch {
  std::uint64_t open = 0;
  std::uint64_t most = 0;
};

stretch fields_after(stretch before, const record_type& record);

stretch after(stretch before, const wire_type& type) {
  if (type.wire_size != variable_size) {
    before.open += type.wire_size;
  } else if (type.kind == wire_kind::record) {
    before = fields_after(before, *type.target);
  } else if (type.kind == wire_kind::vector) {
    for (std::uint32_t i = 0; i < type.count; ++i) before = after(before, *type.item);
  } else {  // a pointer, alone or with a count before it
    before = {0, std::max(before.most, before.open + 4)};
    if (type.target != nullptr) before.most = fields_after(before, *type.target).most;
  }
  before.most = std::max(before.most, before.open);
  return before;
}

stretch fields_after(stretch before, const record_type& record) {
  if (record.is_union) before.open += 4;
  stretch all = before;
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    const stretch next = after(record.is_union ? before : all, record.fields[i].type);
    all = {record.is_union ? std::max(all.open, next.open) : next.open,
           std::max(all.most, next.most)};
  }
  return all;
}

TEST(wire_window, holds_the_widest_run_of_every_result_and_what_its_texts_extend_into) {
  std::uint64_t most = 0;
  for (const program_table& program : programs) {
    for (std::uint32_t f = 0; f < program.family_count; ++f) {
      for (std::uint32_t i = 0; i < program.families[f]->count; ++i) {
        most = std::max(most, after({}, program.families[f]->rows[i].result).most);
      }
    }
  }
  EXPECT_EQ(most, 4008u);
  EXPECT_LE(most, window_room);
}

}  // namespace
}  // namespace kvrpc::test
