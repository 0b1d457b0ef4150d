// The notes on procedures, records and keys: each names something that exists, and nothing lacks
// one.
#include "schema/notes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "schema/tables.h"

namespace kvrpc::test {
namespace {

std::set<std::string> procedure_names() {
  std::set<std::string> names;
  for (const program_table& program : programs) {
    for (const procedure* row : procedures_of(program)) names.insert(row->name);
  }
  return names;
}

std::vector<std::string> words_of(const char* text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

void expect_sentence(const std::string& text, const std::string& where) {
  EXPECT_GT(text.size(), 1u) << where;
  EXPECT_LE(text.size(), 90u) << where;
  EXPECT_EQ(text.back(), '.') << where;
  for (const char c : text) EXPECT_TRUE(c >= ' ' && c <= '~' && c != '"' && c != '\\') << where;
}

TEST(notes, of_every_procedure_are_sentences) {
  for (const std::string& name : procedure_names()) {
    const note* meaning = find_note(name.c_str());
    ASSERT_NE(meaning, nullptr) << name;
    expect_sentence(meaning->text, name);
  }
  EXPECT_EQ(find_note("a_login_2"), nullptr);
}

TEST(notes, refer_to_procedures_that_exist) {
  const std::set<std::string> names = procedure_names();
  for (const std::string& name : names) {
    for (const std::string& other : words_of(find_note(name.c_str())->see)) {
      EXPECT_EQ(names.count(other), 1u) << name << " refers to " << other;
      EXPECT_NE(other, name);
    }
  }
}

TEST(groups, hold_each_procedure_once) {
  std::multiset<std::string> grouped;
  for (std::uint32_t i = 0; i < procedure_groups.count; ++i) {
    const procedure_group& group = procedure_groups.rows[i];
    const std::vector<std::string> members = words_of(group.procedures);
    grouped.insert(members.begin(), members.end());
    for (const std::string& name : words_of(group.start)) {
      EXPECT_NE(find_note(name.c_str()), nullptr) << group.name << " starts with " << name;
    }
    if (group.text[0] != '\0') expect_sentence(group.text, group.name);
  }
  const std::set<std::string> names = procedure_names();
  EXPECT_EQ(grouped, std::multiset<std::string>(names.begin(), names.end()));
}

TEST(later_forms, join_procedures_of_one_server) {
  const std::set<std::string> names = procedure_names();
  std::set<std::string> earlier;
  for (std::uint32_t i = 0; i < later_forms.count; ++i) {
    const later_form& row = later_forms.rows[i];
    EXPECT_EQ(names.count(row.earlier), 1u) << row.earlier;
    EXPECT_EQ(names.count(row.later), 1u) << row.later;
    EXPECT_EQ(row.earlier[0], row.later[0]);
    EXPECT_TRUE(earlier.insert(row.earlier).second) << row.earlier << " has two later forms";
    expect_sentence(row.adds, row.earlier);
  }
}

// "_new", "_llb" and "64" name a later form; each whose earlier name exists has its row.
TEST(later_forms, hold_every_pair_that_the_names_show) {
  const std::set<std::string> names = procedure_names();
  std::map<std::string, std::string> forms;
  for (std::uint32_t i = 0; i < later_forms.count; ++i) {
    forms[later_forms.rows[i].earlier] = later_forms.rows[i].later;
  }
  for (const std::string& name : names) {
    for (const char* mark : {"_new", "64"}) {
      const std::size_t at = name.find(mark);
      if (at == std::string::npos) continue;
      const std::string earlier = name.substr(0, at) + name.substr(at + std::strlen(mark));
      if (names.count(earlier) == 1) {
        EXPECT_EQ(forms[earlier], name);
      }
    }
    const std::size_t at = name.find("_llb_1");
    if (at == std::string::npos) continue;
    const std::string list = name.substr(0, at) + "_ll_1";
    if (names.count(list) == 1) {
      EXPECT_EQ(forms[list], name);
    }
  }
}

std::set<std::string> keys_of(const record_type& record) {
  std::set<std::string> keys;
  if (record.is_union) keys.insert(record.selector->key);
  for (const record_field* field : fields_of(record)) keys.insert(field->key);
  return keys;
}

TEST(glossary, has_one_row_for_each_key) {
  std::multiset<std::string> rows;
  std::set<std::string> keys;
  for (std::uint32_t i = 0; i < key_notes.count; ++i) {
    const key_note& row = key_notes.rows[i];
    expect_sentence(row.meaning.text, row.key);
    if (row.record[0] == '\0') rows.insert(row.key);
  }
  for (const record_type* record : reachable_records()) {
    for (const std::string& key : keys_of(*record)) keys.insert(key);
  }
  EXPECT_EQ(rows, std::multiset<std::string>(keys.begin(), keys.end()));
}

TEST(glossary, has_exceptions_only_for_keys_of_the_record) {
  std::set<std::string> seen;
  for (std::uint32_t i = 0; i < key_notes.count; ++i) {
    const key_note& row = key_notes.rows[i];
    if (row.record[0] == '\0') continue;
    EXPECT_TRUE(seen.insert(std::string(row.record) + "." + row.key).second) << row.record;
    const record_type* record = record_named(row.record);
    ASSERT_NE(record, nullptr) << row.record;
    EXPECT_EQ(keys_of(*record).count(row.key), 1u) << row.record << "." << row.key;
  }
}

TEST(record_notes, name_each_record_at_most_once) {
  std::set<std::string> seen;
  for (std::uint32_t i = 0; i < record_notes.count; ++i) {
    const record_note& row = record_notes.rows[i];
    EXPECT_TRUE(seen.insert(row.record).second) << row.record;
    EXPECT_NE(record_named(row.record), nullptr) << row.record;
    expect_sentence(row.meaning.text, row.record);
  }
}

}  // namespace
}  // namespace kvrpc::test
