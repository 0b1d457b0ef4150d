// The procedures of the six programs as a whole.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "schema/tables.h"

namespace kvrpc::test {
namespace {

using number_set = std::set<std::uint32_t>;

number_set numbers(std::uint32_t first, std::uint32_t last, const number_set& without = {}) {
  number_set result;
  for (std::uint32_t number = first; number <= last; ++number) {
    if (without.count(number) == 0) result.insert(number);
  }
  return result;
}

std::vector<const procedure*> procedures_of_server(const char* name) {
  const program_table* program = find_program(name);
  return program == nullptr ? std::vector<const procedure*>() : test::procedures_of(*program);
}

TEST(programs, hold_321_procedures) {
  const std::map<std::string, std::size_t> expected = {
      {"alpha", 154}, {"lambda", 29}, {"nue", 2}, {"omega", 111}, {"sigma", 10}, {"theta", 15}};
  std::map<std::string, std::size_t> counts;
  for (const program_table& program : programs) {
    counts[program.name] = test::procedures_of(program).size();
  }
  EXPECT_EQ(counts, expected);
}

TEST(programs, name_each_procedure_once_and_after_their_initial) {
  std::set<std::string> names;
  for (const program_table& program : programs) {
    for (const procedure* row : test::procedures_of(program)) {
      const std::string name = row->name;
      EXPECT_TRUE(names.insert(name).second) << name;
      EXPECT_EQ(name[0], program.name[0]) << name;
      EXPECT_EQ(name[1], '_') << name;
      EXPECT_EQ(name.substr(name.size() - 2), "_1") << name;
    }
  }
  EXPECT_EQ(names.size(), 321u);
}

TEST(programs, number_their_procedures_with_the_known_gaps_only) {
  number_set alpha = numbers(1, 150, {2, 13, 116, 118, 119, 122, 123, 125});
  alpha.merge(numbers(1000, 1011));
  const std::map<std::string, number_set> expected = {
      {"alpha", alpha},          {"lambda", numbers(1, 29)},
      {"nue", numbers(1, 2)},    {"omega", numbers(1, 115, {95, 96, 99, 100})},
      {"sigma", numbers(1, 10)}, {"theta", numbers(1, 15)}};
  for (const auto& [name, wanted] : expected) {
    number_set found;
    for (const procedure* row : procedures_of_server(name.c_str())) {
      EXPECT_TRUE(found.insert(row->number).second) << row->name;
    }
    EXPECT_EQ(found, wanted) << name;
  }
}

TEST(programs, compare_the_earlier_page_procedures_last) {
  std::vector<std::string> names;
  for (const procedure* row : procedures_of_server("sigma")) names.push_back(row->name);
  const std::vector<std::string> expected = {
      "s_exit_1",          "s_get_kzg_1",     "s_write_log_1", "s_get_inf_1",
      "s_open_page_1",     "s_close_page_1",  "s_get_block_1", "s_openpage_old_1",
      "s_closepage_old_1", "s_getblock_old_1"};
  EXPECT_EQ(names, expected);
}

TEST(programs, begin_alpha_with_a_gamma_1) {
  const procedure& first = *procedures_of_server("alpha").front();
  EXPECT_STREQ(first.name, "a_gamma_1");
  EXPECT_EQ(first.number, 1000u);
  EXPECT_EQ(text_of(first.argument), "gamma_arg");
  EXPECT_EQ(first.argument.kind, wire_kind::record);
  EXPECT_EQ(text_of(first.result), "bool");
}

TEST(programs, leave_the_licence_key_undescribed) {
  for (const program_table& program : programs) {
    for (const procedure* row : test::procedures_of(program)) {
      const bool undescribed = row->argument.kind == wire_kind::unspecified;
      EXPECT_EQ(row->result.kind == wire_kind::unspecified, undescribed) << row->name;
      EXPECT_EQ(undescribed, std::string(row->name) == "o_cha_licence_1") << row->name;
    }
  }
  const procedure* licence = find_procedure(*find_program("omega"), "o_cha_licence_1");
  ASSERT_NE(licence, nullptr);
  EXPECT_EQ(licence->number, 113u);
}

TEST(programs, take_and_give_these_types_besides_records) {
  std::map<std::string, int> arguments;
  std::map<std::string, int> results;
  for (const program_table& program : programs) {
    for (const procedure* row : test::procedures_of(program)) {
      if (row->argument.kind != wire_kind::record) ++arguments[text_of(row->argument)];
      if (row->result.kind != wire_kind::record) ++results[text_of(row->result)];
    }
  }
  const std::map<std::string, int> expected_arguments = {
      {"nothing", 41},   {"chars(11)", 31}, {"long", 18},       {"schars(11)", 8},
      {"chars(36)", 7},  {"bool", 6},       {"chars(81)", 4},   {"chars(21)", 4},
      {"schars(64)", 2}, {"short", 1},      {"text_of(80)", 1}, {"unspecified", 1}};
  const std::map<std::string, int> expected_results = {
      {"bool", 107},     {"short", 25}, {"nothing", 16},
      {"long", 14},      {"text", 4},   {"chars(81)", 3},
      {"chars(21)", 1},  {"u_long", 1}, {"array_of ps_entry", 1},
      {"unspecified", 1}};
  EXPECT_EQ(arguments, expected_arguments);
  EXPECT_EQ(results, expected_results);
}

TEST(find_program, wants_the_exact_name) {
  for (const char* name : {"alpha", "lambda", "nue", "omega", "sigma", "theta"}) {
    const program_table* program = find_program(name);
    ASSERT_NE(program, nullptr) << name;
    EXPECT_STREQ(program->name, name);
  }
  for (const char* name : {"", "gamma", "Alpha", "alph", "alpha ", "alphaa"}) {
    EXPECT_EQ(find_program(name), nullptr) << name;
  }
}

}  // namespace
}  // namespace kvrpc::test
