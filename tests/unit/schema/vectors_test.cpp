// The tables against the exact bytes of calls and results.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "schema/tables.h"

namespace kvrpc::test {
namespace {

// Goes over XDR bytes as a type describes them.
class wire_reader {
 public:
  explicit wire_reader(std::string bytes) : bytes_(std::move(bytes)) {}

  // Returns true if all of the bytes, and no more, are a value of this type.
  bool is(const wire_type& type) {
    pass(type);
    return sound_ && at_ == bytes_.size();
  }

 private:
  void skip(std::size_t size) {
    size = (size + 3) / 4 * 4;
    sound_ = sound_ && size <= bytes_.size() - at_;
    if (sound_) at_ += size;
  }

  std::uint32_t word() {
    skip(4);
    std::uint32_t value = 0;
    for (std::size_t i = at_ - 4; sound_ && i < at_; ++i) {
      value = value << 8 | static_cast<unsigned char>(bytes_[i]);
    }
    return value;
  }

  void pass(const wire_type& type) {
    switch (type.kind) {
      case wire_kind::text:
      case wire_kind::counted_text:
      case wire_kind::blob:
      case wire_kind::string:
        return skip(word());
      case wire_kind::vector:
        for (std::uint32_t i = 0; i < type.count; ++i) pass(*type.item);
        return;
      case wire_kind::array:
        for (std::uint32_t left = word(); sound_ && left > 0; --left) pass(*type.target);
        return;
      case wire_kind::pointer:
        if (word() != 0) pass(*type.target);
        return;
      case wire_kind::record:
        return pass(*type.target);
      default:
        skip(type.wire_size);
    }
  }

  void pass(const record_type& record) {
    if (record.is_union) return pass_arm(record);
    for (const record_field* field : fields_of(record)) {
      if (field->type.kind != wire_kind::list_next) {
        pass(field->type);
      } else if (word() != 0) {
        pass(record);
      }
    }
  }

  void pass_arm(const record_type& record) {
    const std::uint32_t value = word();
    for (const record_field* field : fields_of(record)) {
      if (field->value == static_cast<std::int32_t>(value)) return pass(field->type);
    }
    sound_ = false;
  }

  std::string bytes_;
  std::size_t at_ = 0;
  bool sound_ = true;
};

// Returns the text or number that follows a key. No other text of the line may contain the key.
std::string value_of(const std::string& line, const std::string& key) {
  const std::string label = "\"" + key + "\": ";
  std::size_t begin = line.find(label);
  if (begin == std::string::npos) return "missing";
  begin += label.size();
  if (line[begin] == '"') ++begin;
  return line.substr(begin, line.find_first_of("\",}", begin) - begin);
}

std::string bytes_of(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

void expect_type(const std::string& bytes, const wire_type& type, const procedure& row) {
  EXPECT_TRUE(wire_reader(bytes).is(type)) << row.name;
  const bool fixed = type.wire_size != variable_size;
  EXPECT_EQ(bytes.size(), fixed ? type.wire_size : bytes.size()) << row.name;
}

TEST(vectors, fit_the_tables_byte_for_byte) {
  std::ifstream file(KVRPC_SOURCE_DIR "/tests/vectors/procedures.jsonl");
  std::set<std::string> names;
  int lines = 0;
  for (std::string line; std::getline(file, line); ++lines) {
    const program_table* program = find_program(value_of(line, "program").c_str());
    ASSERT_NE(program, nullptr) << line;
    const procedure* row = find_procedure(*program, value_of(line, "procedure").c_str());
    ASSERT_NE(row, nullptr) << line;
    EXPECT_EQ(std::to_string(row->number), value_of(line, "number")) << row->name;
    expect_type(bytes_of(value_of(line, "arg_xdr")), row->argument, *row);
    expect_type(bytes_of(value_of(line, "res_xdr")), row->result, *row);
    names.insert(row->name);
  }
  EXPECT_EQ(lines, 640);
  EXPECT_EQ(names.size(), 320u);  // all but the licence key's
}

TEST(vectors, of_another_type_are_distinguished) {
  EXPECT_FALSE(wire_reader(std::string(8, '\0')).is(wire::long_));
  EXPECT_FALSE(wire_reader(std::string(3, '\0')).is(wire::long_));
  EXPECT_FALSE(wire_reader(std::string("\0\0\0\5abcd", 8)).is(wire::text));
  EXPECT_TRUE(wire_reader(std::string("\0\0\0\4abcd", 8)).is(wire::text));
}

}  // namespace
}  // namespace kvrpc::test
