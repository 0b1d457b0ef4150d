// Results from the wire to text, beside the reference's: however the stream is read, wherever a
// text has no NUL, and whatever memory is out.
#include "bridge/result_reader.h"

#include <gtest/gtest.h>

#include "bridge/support/conversion.h"
#include "bridge/support/random_values.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

using namespace wire;

constexpr inline_mode modes[] = {inline_mode::always, inline_mode::never, inline_mode::sometimes};

constexpr structure leaf{"leaf", {{"a", chars(4)}, {"n", long_}}};
constexpr structure link_last{"last", {{"d", inline_(leaf)}, {"z", chars(3)}, {"next", list_next}}};
constexpr structure link_first{"first",
                               {{"next", list_next}, {"d", inline_(leaf)}, {"z", chars(3)}}};
constexpr structure blobs{"blobs",
                          {{"next", list_next}, {"a", chars(4)}, {"t", text}, {"b", blob}}};
constexpr structure inner_list{
    "inner_list",
    {{"next", list_next}, {"a", chars(4)}, {"list", pointer_to(blobs)}, {"z", chars(4)}}};
constexpr structure links_alone{"links", {{"next", list_next}}};
constexpr structure top{"top",
                        {{"a", chars(4)},
                         {"last", pointer_to(link_last)},
                         {"m", chars(4)},
                         {"first", pointer_to(link_first)},
                         {"inner", pointer_to(inner_list)},
                         {"z", chars(4)}}};

// Bytes of the wire, written piece by piece.
struct wire_bytes : bytes {
  wire_bytes& units(std::initializer_list<std::uint32_t> values) {
    for (const std::uint32_t value : values) {
      char unit[4];
      xdr_store_unit(unit, value);
      insert(end(), unit, unit + 4);
    }
    return *this;
  }
  wire_bytes& chars_of(const std::string& text) {
    for (const char c : text) units({static_cast<unsigned char>(c)});
    return *this;
  }
};

// The text by each way of reading, which is the reference's as well.
std::string text_of_reply(const wire_type& type, const bytes& wire) {
  test_value whole(type);
  EXPECT_TRUE(whole.get(wire));
  for (const inline_mode mode : modes) EXPECT_EQ(reply_text(type, wire, mode), whole.text());
  return whole.text();
}

TEST(result_reader, runs_a_text_on_to_the_link_after_it_and_starts_each_node_clean) {
  wire_bytes wire;
  wire.chars_of("abcd").units({0x44434241}).chars_of("xyz").units({1});
  wire.chars_of(std::string("q\0\0\0", 4)).units({7}).chars_of("uvw").units({0});
  EXPECT_EQ(text_of_reply(inline_(link_last), wire),
            R"({"d":{"a":"abcdABCDxyz","n":1145258561},"z":"xyz","next":)"
            R"({"d":{"a":"q","n":7},"z":"uvw","next":null}})");
}

TEST(result_reader, runs_a_text_on_to_the_end_of_a_node_whose_link_is_first) {
  wire_bytes wire;
  wire.units({1, 1, 0});
  wire.chars_of("abcd").units({0x44434241}).chars_of("xyz");
  wire.chars_of("efgh").units({0x00000041}).chars_of(std::string(3, '\0'));
  wire.chars_of("efgh").units({0x48474645}).chars_of(std::string("\0yz", 3));
  EXPECT_EQ(text_of_reply(inline_(link_first), wire),
            R"({"next":{"next":{"next":null,"d":{"a":"abcdABCDxyz","n":1145258561},"z":"xyz"},)"
            R"("d":{"a":"efghA","n":65},"z":""},"d":{"a":"efghEFGH","n":1212630597},"z":""})");
}

TEST(result_reader, runs_a_text_on_to_the_pointer_after_it_and_no_farther) {
  wire_bytes wire;
  wire.chars_of("abcd").units({0});
  wire.chars_of("efgh").units({0, 0});
  wire.chars_of("ijkl");
  EXPECT_EQ(text_of_reply(inline_(top), wire),
            R"({"a":"abcd","last":null,"m":"efgh","first":null,"inner":null,"z":"ijkl"})");
}

TEST(result_reader, gives_back_what_a_node_held_before_the_next) {
  wire_bytes wire;
  wire.units({1, 0});
  for (const char* const text : {"one!", "two"}) {
    wire.chars_of(std::string(text, 4));
    wire.units({1, 1, 0});
    for (int node = 0; node < 2; ++node) {
      wire.chars_of("aaaa").units({2}).insert(wire.end(), {'t', '\0', '\0', '\0'});
      wire.units({3}).insert(wire.end(), {'b', 'b', 'b', '\0'});
    }
    wire.chars_of("zzzz");
  }
  failing_heap heap(-1);
  const std::string text = text_of_reply(inline_(inner_list), wire);
  EXPECT_EQ(heap.live_blocks(), 0);
  const std::string node = R"("a":"aaaa","t":"t","b":"YmJi"})";
  const std::string list = R"({"next":{"next":null,)" + node + "," + node;
  EXPECT_EQ(text, R"({"next":{"next":null,"a":"one!","list":)" + list +
                      R"(,"z":"zzzz"},"a":"two","list":)" + list + R"(,"z":"zzzz"})");
}

TEST(result_reader, takes_a_list_of_links_alone) {
  wire_bytes wire;
  wire.units({1, 1, 0});
  EXPECT_EQ(text_of_reply(inline_(links_alone), wire), R"({"next":{"next":{"next":null}}})");
}

TEST(result_reader, takes_an_array_of_any_count) {
  for (std::uint32_t count = 0; count < 4; ++count) {
    wire_bytes wire;
    wire.units({count});
    std::string expected;
    for (std::uint32_t i = 0; i < count; ++i) {
      wire.chars_of("wxyz").units({i});
      expected += (i > 0 ? ", " : "") + ("{\"a\":\"wxyz\",\"n\":" + std::to_string(i) + "}");
    }
    EXPECT_EQ(text_of_reply(array_of(leaf), wire), "[" + expected + "]");
  }
}

TEST(result_reader, escapes_chars_at_each_place_of_a_text) {
  static constexpr structure long_text{"long_text", {{"t", chars(40)}, {"n", long_}}};
  static constexpr structure text_at_end{"text_at_end", {{"n", long_}, {"t", chars(40)}}};
  for (std::uint32_t place = 0; place < 39; ++place) {
    for (const int special : {1, 8, 10, 0x1F, 0x22, 0x5C, 0x7F, 0x80, 0xA4, 0xFF}) {
      std::string text(39, 'x');
      text[place] = static_cast<char>(special);
      text += '\0';
      wire_bytes before;
      text_of_reply(inline_(long_text), before.chars_of(text).units({12}));
      wire_bytes behind;
      text_of_reply(inline_(text_at_end), behind.units({12}).chars_of(text));
    }
  }
}

TEST(result_reader, keeps_the_memory_of_one_node) {
  constexpr std::uint32_t nodes = 10000;
  wire_bytes wire;
  for (std::uint32_t i = 0; i < nodes; ++i) {
    wire.chars_of("abcd").units({i}).chars_of("xyz").units({i + 1 < nodes ? 1u : 0u});
  }
  failing_heap heap(-1);
  const std::string text = reply_text(inline_(link_last), wire);
  EXPECT_LT(heap.peak_bytes(), 4 * text.size());
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(result_reader, reads_to_the_end_when_there_is_no_memory_for_the_text) {
  wire_bytes wire;
  wire.units({3});
  for (std::uint32_t i = 0; i < 3; ++i) wire.chars_of("wxyz").units({i});
  source_stream stream(wire, inline_mode::sometimes);
  const wire_type type = array_of(leaf);
  text_buffer text;
  result_text result{type, text, 0};
  failing_heap heap(0);
  EXPECT_TRUE(xdr_result(&stream.xdrs, &result));
  EXPECT_FALSE(result.written);
  EXPECT_TRUE(stream.at_end());
}

TEST(result_reader, starts_anew_when_a_result_is_read_again) {
  wire_bytes wire;
  wire.chars_of("abcd").units({0});
  wire.chars_of("efgh").units({0, 1, 0}).chars_of("ijkl").units({1, 0});
  wire.chars_of("mnop").units({2, 0x74000000, 0}).chars_of("qrst").chars_of("uvwx");
  const std::string expected =
      R"({"a":"abcd","last":null,"m":"efgh","first":null,"inner":{"next":null,"a":"ijkl",)"
      R"("list":{"next":null,"a":"mnop","t":"t","b":""},"z":"qrst"},"z":"uvwx"})";
  failing_heap heap(-1);
  {
    const wire_type type = inline_(top);
    text_buffer text;
    text.append("head", 4);
    result_text result{type, text, 4};
    for (int i = 0; i < 2; ++i) {
      source_stream stream(wire, inline_mode::never);
      EXPECT_TRUE(xdr_result(&stream.xdrs, &result));
      EXPECT_TRUE(result.written);
      EXPECT_EQ(std::string(text.data(), text.size()), "head" + expected);
    }
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
