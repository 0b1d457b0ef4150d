// The records of the interface as a whole.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "schema/tables.h"

namespace kvrpc::test {
namespace {

TEST(records, are_342_of_three_kinds) {
  int structures = 0;
  int unions = 0;
  int nodes = 0;
  std::set<std::string> names;
  for (const record_type* record : reachable_records()) {
    EXPECT_TRUE(names.insert(record->name).second) << record->name;
    ++(record->is_union ? unions : record->next_field >= 0 ? nodes : structures);
  }
  EXPECT_EQ(names.size(), 342u);
  EXPECT_EQ(structures, 265);
  EXPECT_EQ(unions, 39);
  EXPECT_EQ(nodes, 38);
}

TEST(records, have_1210_rows) {
  std::size_t rows = 0;
  for (const record_type* record : reachable_records()) {
    EXPECT_GT(record->field_count, 0u) << record->name;
    rows += record->field_count;
  }
  EXPECT_EQ(rows, 1210u);
}

TEST(records, name_each_key_once) {
  for (const record_type* record : reachable_records()) {
    std::set<std::string> keys;
    if (record->is_union) keys.insert(record->selector->key);
    for (const record_field* field : fields_of(*record)) {
      EXPECT_TRUE(keys.insert(field->key).second) << record->name << "." << field->key;
    }
  }
}

// A pointer, an array and an inline record have a target, a vector has an element type, and no
// other type has either.
void expect_resolved(const wire_type& type, const std::string& where) {
  const bool leads = type.kind == wire_kind::pointer || type.kind == wire_kind::array ||
                     type.kind == wire_kind::record;
  EXPECT_EQ(target_of(type) != nullptr, leads) << where;
  EXPECT_EQ(item_of(type) != nullptr, type.kind == wire_kind::vector) << where;
  if (item_of(type) != nullptr) expect_resolved(*item_of(type), where);
}

TEST(records, resolve_every_reference) {
  for (const record_type* record : reachable_records()) {
    for (const record_field* field : fields_of(*record)) {
      expect_resolved(field->type, std::string(record->name) + "." + field->key);
      EXPECT_NE(field->type.kind, wire_kind::nothing) << record->name;
      EXPECT_NE(field->type.kind, wire_kind::unspecified) << record->name;
    }
  }
  for (const program_table& program : programs) {
    for (const procedure* row : procedures_of(program)) {
      expect_resolved(row->argument, row->name);
      expect_resolved(row->result, row->name);
    }
  }
}

TEST(list_nodes, hold_one_link_called_next) {
  std::map<std::string, int> places;
  for (const record_type* record : reachable_records()) {
    int links = 0;
    for (const record_field* field : fields_of(*record)) {
      if (field->type.kind != wire_kind::list_next) continue;
      ++links;
      EXPECT_STREQ(field->key, "next") << record->name;
      EXPECT_EQ(field, &record->fields[record->next_field]) << record->name;
      ++places[field == record->fields                             ? "first"
               : field == &record->fields[record->field_count - 1] ? "last"
                                                                   : "between"];
    }
    EXPECT_EQ(links, record->next_field >= 0 ? 1 : 0) << record->name;
  }
  EXPECT_EQ(places["first"] + places["last"] + places["between"], 38);
  for (const char* name : {"get_e_res_node", "get_p_res_node", "get_s_res_node", "gwuser_count"}) {
    const record_type& node = *record_named(name);
    EXPECT_EQ(node.next_field, static_cast<std::int32_t>(node.field_count) - 1) << name;
  }
}

TEST(list_nodes, are_what_pointers_lead_to) {
  for (const record_type* record : reachable_records()) {
    for (const record_field* field : fields_of(*record)) {
      if (field->type.kind == wire_kind::pointer) {
        EXPECT_GE(field->type.target->next_field, 0) << record->name << "." << field->key;
      }
    }
  }
}

TEST(list_heads, of_four_records_hang_on_data) {
  for (const char* name : {"get_kzg_res", "o_get_kzg_res", "s_get_kzg_res", "t_get_kzg_res"}) {
    std::map<std::string, std::string> types;
    for (const record_field* field : fields_of(*record_named(name))) {
      types[field->key] = text_of(field->type);
    }
    EXPECT_EQ(types["first"], "long") << name;
    EXPECT_EQ(types["next"], "long") << name;
    EXPECT_EQ(types["data"].rfind("pointer_to ", 0), 0u) << name << ": " << types["data"];
  }
}

TEST(unions, select_by_selection_but_for_two) {
  std::set<std::string> by_version;
  for (const record_type* record : reachable_records()) {
    EXPECT_EQ(record->selector != nullptr, record->is_union) << record->name;
    if (!record->is_union || std::string(record->selector->key) == "selection") continue;
    EXPECT_STREQ(record->selector->key, "vers");
    by_version.insert(record->name);
  }
  EXPECT_EQ(by_version, (std::set<std::string>{"bif_new_arg", "bif_new_res"}));
}

TEST(unions, name_their_arms_by_value_but_for_the_events) {
  std::vector<std::string> events;
  for (const record_type* record : reachable_records()) {
    if (!record->is_union) continue;
    std::set<std::int32_t> values;
    for (const record_field* field : fields_of(*record)) {
      EXPECT_TRUE(values.insert(field->value).second) << record->name;
      EXPECT_EQ(field->offset, 4u) << record->name;
      if (std::string(record->name) == "subscribe_arg_trigger") {
        events.push_back(field->key);
      } else {
        EXPECT_LE(field->value, 3);
        EXPECT_EQ(field->key, "v" + std::to_string(field->value)) << record->name;
      }
    }
  }
  EXPECT_EQ(events, (std::vector<std::string>{"errcode", "topf_change", "doc_change",
                                              "board_change", "logout_msg"}));
}

TEST(unions, of_a_later_form_have_no_value_0) {
  for (const char* name : {"put_s_stat_new_arg", "e_rec_new"}) {
    const record_type& record = *record_named(name);
    ASSERT_EQ(record.field_count, 1u) << name;
    EXPECT_EQ(record.fields[0].value, 1) << name;
  }
}

TEST(selection, is_a_plain_short_in_seven_records) {
  std::set<std::string> plain;
  for (const record_type* record : reachable_records()) {
    for (const record_field* field : fields_of(*record)) {
      if (std::string(field->key) != "selection") continue;
      EXPECT_EQ(text_of(field->type), "short") << record->name;
      plain.insert(record->name);
    }
  }
  EXPECT_EQ(plain, (std::set<std::string>{"get_e_arg", "get_eb_arg", "get_p_arg", "get_pb_arg",
                                          "get_s_arg", "get_sb_arg", "get_s_rec_new_ll_arg_v1"}));
}

TEST(fields, of_one_name_keep_their_different_types) {
  using type_counts = std::map<std::string, int>;
  const std::map<std::string, type_counts> expected = {
      {"anz", {{"long", 61}, {"short", 3}}},
      {"barcode", {{"bool", 2}, {"chars(21)", 1}}},
      {"dat", {{"opaque(101)", 1}, {"schars(101)", 1}}},
      {"err", {{"long", 3}, {"short", 3}}},
      {"hwfeat", {{"long", 4}, {"u_long", 1}}},
      {"id", {{"chars(11)", 2}, {"long", 2}, {"schars(11)", 1}}},
      {"len", {{"int", 3}, {"long", 1}}},
      {"lineid", {{"chars(11)", 20}, {"chars(21)", 7}}},
      {"name", {{"chars(11)", 5}, {"chars(31)", 4}}},
      {"pincode", {{"chars(21)", 2}, {"chars(31)", 1}}},
      {"pos",
       {{"long", 11},
        {"chars(11)", 10},
        {"chars(81)", 3},
        {"short", 1},
        {"chars(21)", 1},
        {"chars(31)", 1}}},
      {"rcv_prefix", {{"chars(11)", 1}, {"chars(21)", 1}}},
      {"status", {{"long", 7}, {"int", 2}, {"short", 1}}},
      {"timeout", {{"long", 2}, {"short", 1}}},
      {"tsi", {{"chars(21)", 10}, {"chars(31)", 3}}},
  };
  std::map<std::string, type_counts> found;
  for (const record_type* record : reachable_records()) {
    for (const record_field* field : fields_of(*record)) {
      if (expected.count(field->key) != 0) ++found[field->key][text_of(field->type)];
    }
  }
  EXPECT_EQ(found, expected);
}

TEST(fields, are_of_these_types) {
  std::map<std::string, int> counts;
  int records = 0;
  for (const record_type* record : reachable_records()) {
    for (const record_field* field : fields_of(*record)) {
      const wire_kind kind = field->type.kind;
      if (kind == wire_kind::record || kind == wire_kind::pointer || kind == wire_kind::list_next) {
        ++records;
      } else {
        ++counts[text_of(field->type)];
      }
    }
  }
  const std::map<std::string, int> expected = {
      {"long", 261},
      {"chars(11)", 233},
      {"short", 187},
      {"chars(36)", 70},
      {"chars(21)", 61},
      {"bool", 59},
      {"chars(31)", 53},
      {"chars(81)", 35},
      {"int", 23},
      {"text", 9},
      {"schars(11)", 2},
      {"schars(64)", 2},
      {"string", 2},
      {"blob", 2},
      {"opaque64(3)", 2},
      {"vector_of(1000) long", 2},
      {"vector_of(10) long", 1},
      {"vector_of(10) chars(31)", 1},
      {"vector_of(10) chars(81)", 1},
      {"vector_of(3) chars(81)", 1},
      {"schars(101)", 1},
      {"schars(121)", 1},
      {"schars(512)", 1},
      {"opaque(101)", 1},
      {"u_long", 1},
  };
  EXPECT_EQ(counts, expected);
  EXPECT_EQ(records, 198);
}

}  // namespace
}  // namespace kvrpc::test
