// The search by hash finds what a comparison with one name after the other finds.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "schema/tables.h"
#include "support/page_border.h"

namespace kvrpc::test {
namespace {

const procedure* find_one_by_one(const program_table& program, const std::string& name) {
  for (const procedure* row : procedures_of(program)) {
    if (name == row->name) return row;
  }
  return nullptr;
}

// Searches every program for `name`, whose NUL is the last byte that may be read.
void compare(page_border& memory, const std::string& name) {
  const char* const bordered = memory.text(name);
  for (const program_table& program : programs) {
    ASSERT_EQ(find_procedure(program, bordered), find_one_by_one(program, name))
        << program.name << ": " << testing::PrintToString(name);
  }
}

TEST(find_procedure, finds_each_name_in_its_program_alone) {
  page_border memory;
  for (const program_table& program : programs) {
    for (const procedure* row : procedures_of(program)) {
      EXPECT_EQ(find_procedure(program, row->name), row);
      compare(memory, row->name);
    }
  }
}

TEST(find_procedure, finds_no_name_that_differs_in_a_byte) {
  page_border memory;
  for (const program_table& program : programs) {
    for (const procedure* row : procedures_of(program)) {
      const std::string name = row->name;
      for (std::size_t place = 0; place < name.size(); ++place) {
        std::string other = name;
        other[place] = static_cast<char>(other[place] ^ 1);
        compare(memory, other);
        compare(memory, name.substr(0, place));
        compare(memory, name.substr(place));
      }
      compare(memory, name + "x");
    }
  }
}

TEST(find_procedure, takes_any_text_for_a_name) {
  page_border memory;
  std::mt19937 random(321);
  for (int round = 0; round < 2000; ++round) {
    std::string name(random() % 40, ' ');
    for (char& c : name) c = static_cast<char>(random() % 255 + 1);
    compare(memory, name);
  }
  compare(memory, "");
  compare(memory, std::string(60'000, 'a'));
}

// A name that its list does not have is mostly refused at its first slot.
TEST(name_index, keeps_names_apart) {
  for (const program_table& program : programs) {
    for (std::uint32_t f = 0; f < program.family_count; ++f) {
      const procedure_list& list = *program.families[f];
      EXPECT_GE(list.slot_mask + 1, 4 * list.count);
      std::uint32_t names = 0;
      std::uint32_t run = 0;
      for (std::uint32_t i = 0; i <= 2 * list.slot_mask; ++i) {
        const bool taken = list.slots[i & list.slot_mask].place != 0;
        if (taken && i <= list.slot_mask) ++names;
        run = taken ? run + 1 : 0;
        EXPECT_LE(run, 8u) << program.name << " family " << f;
      }
      EXPECT_EQ(names, list.count);
    }
  }
}

}  // namespace
}  // namespace kvrpc::test
