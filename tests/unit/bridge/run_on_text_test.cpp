// Fixed texts without a NUL of their own: they extend into the bytes after them, end before the
// first pointer, and no address reaches a reply.
#include <gtest/gtest.h>

#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"

namespace kvrpc::test {
namespace {

using namespace wire;

constexpr structure plain{"plain", {{"a", chars(4)}, {"n", long_}, {"b", chars(4)}}};
constexpr structure padded{"padded", {{"a", chars(2)}, {"n", long_}, {"b", chars(3)}}};
constexpr structure outer{"outer", {{"p", inline_(plain)}, {"tail", schars(4)}}};
constexpr structure with_text{"with_text", {{"a", chars(4)}, {"t", text}, {"b", chars(4)}}};
constexpr structure with_string{"with_string", {{"a", opaque(4)}, {"s", string}}};
constexpr structure with_pointer{"with_pointer", {{"a", chars(4)}, {"p", pointer_to(plain)}}};
constexpr structure with_next{"with_next", {{"a", chars(4)}, {"next", list_next}, {"z", chars(4)}}};
constexpr wire_type chars_2 = chars(2);
constexpr structure vector_row{"row", {{"v", vector_of(chars_2, 3)}, {"n", short_}}};
constexpr structure arm_plain{"arm_plain", {{"a", chars(4)}}};
constexpr structure arm_text{"arm_text", {{"a", chars(4)}, {"t", text}}};
constexpr choice either{"either",
                        "selection",
                        {
                            {0, "v0", inline_(arm_plain)},
                            {65, "v1", inline_(arm_text)},
                        }};
constexpr structure around{"around", {{"u", inline_(either)}, {"z", chars(4)}}};

// The text that a reply has for the record's bytes, which is the reference's as well.
std::string text_of(test_value& value) {
  bytes wire;
  EXPECT_TRUE(value.put(&wire));
  test_value read(value.type());
  EXPECT_TRUE(read.get(wire));
  for (inline_mode mode : {inline_mode::always, inline_mode::never, inline_mode::sometimes}) {
    EXPECT_EQ(reply_text(value.type(), wire, mode), read.text());
  }
  return read.text();
}

void fill(test_value& value, std::size_t from, const char* bytes) {
  std::memcpy(value.data() + from, bytes, std::strlen(bytes));
}

TEST(run_on_text, goes_on_into_an_integer_as_its_bytes_in_memory) {
  test_value value(inline_(plain));
  fill(value, 0, "ab..");
  store<std::int32_t>(value.data() + 4, 0x00434241);
  fill(value, 8, "xyz");
  EXPECT_EQ(text_of(value), R"({"a":"ab..ABC","n":4407873,"b":"xyz"})");
}

TEST(run_on_text, stops_at_padding) {
  test_value value(inline_(padded));
  fill(value, 0, "ab");
  store<std::int32_t>(value.data() + 4, 1);
  EXPECT_EQ(text_of(value), R"({"a":"ab","n":1,"b":""})");
}

TEST(run_on_text, goes_on_from_a_nested_record_into_the_outer_and_ends_with_the_block) {
  test_value value(inline_(outer));
  fill(value, 0, "ab..ABCDxyz.tail");
  EXPECT_EQ(text_of(value),
            R"({"p":{"a":"ab..ABCDxyz.tail","n":1145258561,"b":"xyz.tail"},"tail":"tail"})");
}

TEST(run_on_text, goes_on_through_the_elements_of_a_vector) {
  test_value value(inline_(vector_row));
  fill(value, 0, "aabbccNN");
  EXPECT_EQ(text_of(value), R"({"v":["aabbccNN", "bbccNN", "ccNN"],"n":20046})");
}

TEST(run_on_text, stops_at_the_end_of_an_array_element) {
  test_value value(array_of(plain));
  ASSERT_EQ(value.encode("[{},{}]"), 1);
  std::memcpy(load_block_pointer(value.data()), "ab..ABCDxyz.cd..EFGHuvw.", 24);
  EXPECT_EQ(text_of(value), R"([{"a":"ab..ABCDxyz.","n":1145258561,"b":"xyz."}, )"
                            R"({"a":"cd..EFGHuvw.","n":1212630597,"b":"uvw."}])");
}

TEST(run_on_text, takes_a_count_but_stops_before_the_pointer_after_it) {
  test_value value(inline_(with_text));
  const std::string text(64, 'x');  // with its NUL, as many bytes as the code of 'A'
  ASSERT_EQ(value.encode(R"({"t":")" + text + R"(","b":"bbb"})"), 1);
  fill(value, 0, "aaaa");
  EXPECT_EQ(text_of(value), R"({"a":"aaaaA","t":")" + text + R"(","b":"bbb"})");
}

TEST(run_on_text, stops_before_each_kind_of_pointer) {
  test_value text(inline_(with_string));
  ASSERT_EQ(text.encode(R"({"a":"aaaaaa","s":"x"})"), 1);
  EXPECT_EQ(text_of(text), R"({"a":"aaaa","s":"x"})");

  test_value target(inline_(with_pointer));
  ASSERT_EQ(target.encode(R"({"p":{}})"), 1);
  fill(target, 0, "aaaa");
  EXPECT_EQ(text_of(target), R"({"a":"aaaa","p":{"a":"","n":0,"b":""}})");

  test_value link(inline_(with_next));
  ASSERT_EQ(link.encode(R"({"next":{}})"), 1);
  fill(link, 0, "aaaa");
  char* const node = load<char*>(link.data() + 4);
  std::memcpy(node, "bbbb", 4);
  std::memcpy(node + 4 + sizeof(char*), "zzzz", 4);
  EXPECT_EQ(text_of(link), R"({"a":"aaaa","next":{"a":"bbbb","next":null,"z":"zzzz"},"z":""})");
}

TEST(run_on_text, a_null_pointer_ends_it_as_well) {
  test_value value(inline_(with_pointer));
  fill(value, 0, "aaaa");
  EXPECT_EQ(text_of(value), R"({"a":"aaaa","p":null})");
}

TEST(run_on_text, after_a_pointer_it_ends_with_the_record) {
  test_value value(inline_(with_text));
  ASSERT_EQ(value.encode(R"({"t":"xyz"})"), 1);
  fill(value, 8 + sizeof(char*), "bbbb");
  EXPECT_EQ(text_of(value), R"({"a":"","t":"xyz","b":"bbbb"})");
}

TEST(run_on_text, a_union_holds_the_pointers_of_its_selected_arm) {
  test_value value(inline_(around));
  const std::string text(64, 'x');
  ASSERT_EQ(value.encode(R"({"u":{"selection":65,"v1":{"t":")" + text + R"("}}})"), 1);
  fill(value, 4, "aaaa");
  EXPECT_EQ(text_of(value),
            R"({"u":{"selection":65,"v1":{"a":"aaaaA","t":")" + text + R"("}},"z":""})");
  test_value other(inline_(around));
  ASSERT_EQ(other.encode(R"({"u":{"selection":0,"v0":{}},"z":"zzz"})"), 1);
  fill(other, 4, "aaaa");
  EXPECT_EQ(text_of(other), R"({"u":{"selection":0,"v0":{"a":"aaaa"}},"z":"zzz"})");
}

// A place that is a pointer's in another arm is text in this one.
TEST(run_on_text, a_union_hides_the_pointers_of_its_other_arms) {
  static constexpr structure arm_long{"arm_long", {{"a", chars(4)}, {"b", chars(20)}}};
  static constexpr choice overlaid{"overlaid",
                                   "selection",
                                   {
                                       {0, "v0", inline_(arm_text)},
                                       {0x41414141, "v1", inline_(arm_long)},
                                       {2, "v2", inline_(arm_text)},
                                   }};
  static constexpr structure record{"record", {{"z", chars(4)}, {"u", inline_(overlaid)}}};
  test_value value(inline_(record));
  store<std::int32_t>(value.data() + 4, 0x41414141);
  fill(value, 0, "zz..");
  fill(value, 8, "aaaabbbbccccddddeeeefff");
  EXPECT_EQ(text_of(value), R"({"z":"zz..AAAAaaaabbbbccccddddeeeefff","u":{"selection":1094795585,)"
                            R"("v1":{"a":"aaaabbbbccccddddeeeefff","b":"bbbbccccddddeeeefff"}}})");
}

TEST(run_on_text, goes_on_from_the_first_node_of_an_inline_list_into_the_outer_record) {
  static constexpr structure record{"record", {{"l", inline_(with_next)}, {"y", chars(4)}}};
  test_value value(inline_(record));
  ASSERT_EQ(value.encode(R"({"l":{"next":{}}})"), 1);
  fill(value, 4 + sizeof(char*), "zzzzyyy");
  char* const node = load<char*>(value.data() + 4);
  std::memcpy(node + 4 + sizeof(char*), "ZZZZ", 4);
  EXPECT_EQ(text_of(value),
            R"({"l":{"a":"","next":{"a":"","next":null,"z":"ZZZZ"},"z":"zzzzyyy"},"y":"yyy"})");
}

TEST(run_on_text, a_union_before_it_does_not_stop_it) {
  static constexpr structure record{"record", {{"z", chars(4)}, {"u", inline_(either)}}};
  test_value value(inline_(record));
  ASSERT_EQ(value.encode(R"({"u":{"selection":0,"v0":{"a":"abc"}}})"), 1);
  fill(value, 0, "zzzz");
  EXPECT_EQ(text_of(value), R"({"z":"zzzz","u":{"selection":0,"v0":{"a":"abc"}}})");

  test_value other(inline_(record));
  ASSERT_EQ(other.encode(R"({"u":{"selection":65,"v1":{"t":"abc"}}})"), 1);
  fill(other, 0, "zzzz");
  EXPECT_EQ(text_of(other), R"({"z":"zzzzA","u":{"selection":65,"v1":{"a":"","t":"abc"}}})");
}

// Every fixed text of every shape is full, and counts have no zero byte. A text is then followed by
// the bytes of a pointer, none of which may be in the text.
TEST(run_on_text, no_address_reaches_a_text) {
  static constexpr structure node{"node",
                                  {
                                      {"a", chars(5)},
                                      {"next", list_next},
                                      {"b", schars(3)},
                                      {"p", pointer_to(plain)},
                                      {"c", opaque(2)},
                                      {"d", blob},
                                      {"e", chars(1)},
                                      {"s", string},
                                  }};
  test_value value(inline_(node));
  ASSERT_EQ(value.encode(R"({"next":{"s":"n"},"p":{},"d":"AAAA","s":"s"})"), 1);
  for (char* base = value.data(); base != nullptr; base = load<char*>(base + 8)) {
    for (const record_field& field : node.table) {
      if (field.type.wire_size != variable_size) {
        std::memset(base + field.offset, 'x', field.type.size);
      }
    }
  }
  const std::string fields =
      R"("b":"xxx","p":{"a":"","n":0,"b":""},"c":"xx","d":"AAAA","e":"x","s":"s"})";
  EXPECT_EQ(text_of(value),
            R"({"a":"xxxxx","next":{"a":"xxxxx","next":null,"b":"xxx","p":null,"c":"xx","d":"",)"
            R"("e":"x","s":"n"},)" +
                fields);
}

TEST(run_on_text, a_lone_text_ends_with_its_field) {
  for (const wire_type& type : {chars(4), schars(4), opaque(4)}) {
    test_value value(type);
    std::memcpy(value.data(), "abcd", 4);
    EXPECT_EQ(text_of(value), "\"abcd\"");
  }
}

}  // namespace
}  // namespace kvrpc::test
