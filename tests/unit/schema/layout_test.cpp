// Offsets, sizes and labels that follow from the tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "schema/tables.h"

namespace kvrpc::test {
namespace {

using namespace wire;

constexpr std::uint32_t pointer = pointer_size;

std::map<std::string, std::uint32_t> offsets_of(const char* name) {
  std::map<std::string, std::uint32_t> offsets;
  for (const record_field* field : fields_of(*record_named(name))) {
    offsets[field->key] = field->offset;
  }
  return offsets;
}

using offset_map = std::map<std::string, std::uint32_t>;

TEST(layout, aligns_a_flag_after_a_text) {
  EXPECT_EQ(offsets_of("cha_pw_arg"),
            (offset_map{{"userid", 0}, {"adm", 12}, {"oldpw", 16}, {"newpw", 37}}));
  EXPECT_EQ(record_named("cha_pw_arg")->size, 60u);
  EXPECT_EQ(record_named("cha_pw_arg")->wire_size, 44u + 4 + 84 + 84);
}

TEST(layout, packs_a_short_before_a_text) {
  EXPECT_EQ(offsets_of("get_p_rec_res"), (offset_map{{"faxid", 0},
                                                     {"userid", 4},
                                                     {"public_", 16},
                                                     {"status", 20},
                                                     {"seiten", 24},
                                                     {"comment", 26},
                                                     {"crezeit", 60}}));
  EXPECT_EQ(record_named("get_p_rec_res")->size, 64u);
  EXPECT_EQ(record_named("get_p_rec_res")->wire_size, 188u);
}

TEST(layout, puts_a_counted_texts_pointer_right_after_its_count) {
  EXPECT_EQ(
      offsets_of("put_page_arg"),
      (offset_map{{"userid", 0}, {"faxid", 12}, {"seitennr", 16}, {"typ", 18}, {"data", 20}}));
  EXPECT_EQ(record_named("put_page_arg")->size, 24 + pointer);
  EXPECT_EQ(record_named("put_page_arg")->wire_size, variable_size);
}

TEST(layout, puts_every_arm_after_the_discriminant) {
  const record_type& record = *record_named("cha_userid_arg");
  EXPECT_EQ(record.fields[0].offset, 4u);
  EXPECT_EQ(record.size, 20u);
  EXPECT_EQ(offsets_of("cha_userid_arg_v0"), (offset_map{{"loginid", 0}, {"userid", 4}}));
}

TEST(layout, puts_a_link_at_its_place_in_the_table) {
  const std::uint32_t count_next = align_up(11, 4) + 8;
  EXPECT_EQ(
      offsets_of("gwuser_count"),
      (offset_map{{"gw_type", 0}, {"max_users", 12}, {"akt_users", 16}, {"next", count_next}}));
  EXPECT_EQ(offsets_of("gamma_arg"), (offset_map{{"next", 0}, {"a_g_dok", pointer}}));
  EXPECT_EQ(record_named("gamma_arg")->size, align_up(pointer + 21, 4));
}

TEST(layout, holds_vectors_inline) {
  EXPECT_EQ(offsets_of("get_tzenv_res"),
            (offset_map{{"timezone", 0}, {"daylight", 4}, {"tzname", 8}}));
  EXPECT_EQ(record_named("get_tzenv_res")->size, 252u);
  EXPECT_EQ(record_named("get_tzenv_res")->wire_size, 8u + 3 * 81 * 4);
  EXPECT_EQ(record_named("get_inf_res")->size, 4004u);
  EXPECT_EQ(record_named("get_inf_res")->wire_size, 4004u);
}

// clang-format off
constexpr structure odd{"odd", {
    {"a", chars(3)},
    {"b", short_},
    {"c", chars(1)},
}};
constexpr structure mixed{"mixed", {
    {"a", chars(1)},
    {"b", inline_(odd)},
    {"c", opaque(5)},
    {"d", string},
    {"e", opaque64(2)},
    {"f", long_},
}};
constexpr choice either{"either", "vers", {
    {-1, "small", short_},
    { 7, "large", inline_(odd)},
}};
// clang-format on

TEST(layout, gives_a_record_the_alignment_of_its_widest_field) {
  EXPECT_EQ(odd.align, 2u);
  EXPECT_EQ(odd.fields[1].offset, 4u);
  EXPECT_EQ(odd.size, 8u);
  EXPECT_EQ(odd.wire_size, 12u + 4 + 4);
  EXPECT_EQ(mixed.fields[1].offset, 2u);
  EXPECT_EQ(mixed.fields[2].offset, 10u);
  EXPECT_EQ(mixed.fields[3].offset, 16u);
  EXPECT_EQ(mixed.fields[4].offset, 16 + pointer);
  EXPECT_EQ(mixed.fields[5].offset, 20 + pointer);
  EXPECT_EQ(mixed.size, 24 + pointer);
  EXPECT_EQ(mixed.align, 4u);
}

TEST(layout, gives_a_union_the_room_of_its_largest_arm) {
  EXPECT_EQ(either.size, 12u);
  EXPECT_EQ(either.align, 4u);
  EXPECT_EQ(either.wire_size, variable_size);
  EXPECT_EQ(either.fields[0].value, -1);
  EXPECT_EQ(either.fields[1].value, 7);
}

TEST(runs, count_the_wire_bytes_up_to_the_next_field_of_variable_size_and_its_first_unit) {
  const std::uint32_t wire[] = {4 + 20 + 8 + 4, 20 + 8 + 4, 8 + 4, 4, 4 + 4, 4};
  const std::uint16_t end[] = {3, 3, 3, 3, 6, 6};
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(mixed.fields[i].reply.run_wire, wire[i]) << i;
    EXPECT_EQ(mixed.fields[i].reply.run_end, end[i]) << i;
  }
}

TEST(runs, have_the_room_of_their_values_and_labels) {
  namespace room = reply_room;
  EXPECT_EQ(mixed.fields[3].reply.run_room, room::label);
  EXPECT_EQ(mixed.fields[2].reply.run_room, 2 * room::label + room::text(5));
  EXPECT_EQ(mixed.fields[5].reply.run_room, 2 * room::label + room::number);
  EXPECT_EQ(mixed.fields[4].reply.run_room, 3 * room::label + room::number + room::base64(2));
  EXPECT_EQ(mixed.reply_room, 0u);
  EXPECT_GT(odd.reply_room, 0u);
}

TEST(labels, are_the_key_as_json_writes_it) {
  std::size_t longest = 0;
  for (const record_type* record : reachable_records()) {
    for (const record_field* field : fields_of(*record)) {
      const bool opens = field == record->fields && !record->is_union;
      const std::string expected = (opens ? "{\"" : ",\"") + std::string(field->key) + "\":";
      EXPECT_EQ(std::string(field->reply.label, field->reply.label_size), expected) << record->name;
      EXPECT_EQ(expected.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_{,\":"),
                std::string::npos)
          << expected;
      longest = std::max(longest, expected.size());
    }
    if (record->is_union) {
      const reply_plan& reply = record->selector->reply;
      EXPECT_EQ(std::string(reply.label, reply.label_size),
                "{\"" + std::string(record->selector->key) + "\":");
    }
  }
  EXPECT_EQ(longest, 28u);
  EXPECT_LE(longest, reply_room::label);
}

// list_of asserts it of each list at compile time.
TEST(layout, finds_a_list_whose_argument_is_larger_than_its_room) {
  constexpr procedure largest[] = {{1, "a", wire::opaque(argument_room - 1), wire::nothing}};
  constexpr procedure larger[] = {{1, "a", wire::nothing, wire::opaque(argument_room)},
                                  {2, "b", wire::opaque(argument_room), wire::nothing}};
  EXPECT_TRUE(arguments_fit(largest));
  EXPECT_FALSE(arguments_fit(larger));
}

std::uint32_t end_of(const record_field& field) { return field.offset + field.type.size; }

TEST(layout, never_lets_two_fields_of_a_record_meet) {
  for (const record_type* record : reachable_records()) {
    std::uint32_t end = 0;
    for (const record_field* field : fields_of(*record)) {
      const std::string where = std::string(record->name) + "." + field->key;
      EXPECT_GT(field->type.size, 0u) << where;
      EXPECT_EQ(field->offset % field->type.align, 0u) << where;
      EXPECT_LE(field->type.align, record->align) << where;
      if (!record->is_union) {
        EXPECT_GE(field->offset, end) << where;
        EXPECT_LT(field->offset - end, 4u) << where;
      }
      end = std::max(end, end_of(*field));
    }
    EXPECT_EQ(record->size, align_up(end, record->align)) << record->name;
  }
}

}  // namespace
}  // namespace kvrpc::test
