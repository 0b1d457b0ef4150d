// The largest texts that each result can have, in memory that grants exactly the bytes asked for:
// every char takes 3 bytes, every number is the longest, and texts end in their last byte or not at
// all.
#include <gtest/gtest.h>

#include <algorithm>

#include "bridge/support/conversion.h"
#include "bridge/support/procedures.h"
#include "bridge/support/test_records.h"
#include "rpc/xdrrec.h"

namespace kvrpc::test {
namespace {

constexpr inline_mode modes[] = {inline_mode::always, inline_mode::never, inline_mode::sometimes};

// Writes a value whose texts consist of `letter`; lists and arrays have two elements.
class full_value {
 public:
  full_value(char letter, bool ended, std::uint32_t arm)
      : letter_(letter), ended_(ended), arm_(arm) {}

  void put(const wire_type& type) {
    if (type.kind == wire_kind::chars || type.kind == wire_kind::schars) {
      for (std::uint32_t i = 0; i < type.count; ++i) unit(code(i, type.count));
    } else if (type.kind == wire_kind::fixed_text || type.kind == wire_kind::opaque) {
      content(type.count);
    } else if (type.kind == wire_kind::text || type.kind == wire_kind::blob ||
               type.kind == wire_kind::counted_text || type.kind == wire_kind::string) {
      const std::uint32_t size = type.kind == wire_kind::counted_text ? type.count : 41;
      unit(size);
      content(size);
    } else {
      put_composite(type);
    }
  }

  bytes wire;

 private:
  void put_composite(const wire_type& type) {
    if (type.kind == wire_kind::vector) {
      for (std::uint32_t i = 0; i < type.count; ++i) put(*type.item);
    } else if (type.kind == wire_kind::record) {
      record(*type.target);
    } else if (type.kind == wire_kind::pointer) {
      unit(1);
      record(*type.target);
    } else if (type.kind == wire_kind::array) {
      unit(2);
      record(*type.target);
      record(*type.target);
    } else if (type.wire_size == 4) {
      unit(type.kind == wire_kind::short_ ? 0x8000 : 0x80000000);
    }
  }

  void record(const record_type& record) {
    const record_field* const end = record.fields + record.field_count;
    if (record.is_union) {
      const record_field& arm = record.fields[arm_ % record.field_count];
      unit(static_cast<std::uint32_t>(arm.value));
      return put(arm.type);
    }
    if (record.next_field < 0) return fields(record.fields, end);
    const record_field* const link = record.fields + record.next_field;
    for (const std::uint32_t more : {1u, 0u}) {
      fields(record.fields, link);
      unit(more);
    }
    for (int node = 0; node < 2; ++node) fields(link + 1, end);
  }

  void fields(const record_field* field, const record_field* end) {
    for (; field != end; ++field) put(field->type);
  }

  unsigned char code(std::uint32_t i, std::uint32_t size) const {
    return ended_ && i + 1 == size ? 0 : static_cast<unsigned char>(letter_);
  }
  void content(std::uint32_t size) {
    for (std::uint32_t i = 0; i < size; ++i) wire.push_back(static_cast<char>(code(i, size)));
    wire.resize((wire.size() + 3) / 4 * 4);
  }
  void unit(std::uint32_t value) {
    wire.resize(wire.size() + 4);
    xdr_store_unit(wire.data() + wire.size() - 4, value);
  }

  char letter_;
  bool ended_;
  std::uint32_t arm_;
};

void expect_like_reference(const wire_type& type, const bytes& wire, const char* name) {
  test_value value(type);
  ASSERT_TRUE(value.get(wire)) << name;
  const std::string expected = value.text();
  for (const inline_mode mode : modes) ASSERT_EQ(reply_text(type, wire, mode), expected) << name;
}

// 0xA4 is the euro sign, of 3 bytes; a newline takes 2, and 0x01 none.
void expect_full_texts(const wire_type& type, const char* name) {
  for (const char letter : {'\xA4', 'x', '\n', '\x01'}) {
    for (const bool ended : {true, false}) {
      for (std::uint32_t arm = 0; arm < 4; ++arm) {
        full_value value(letter, ended, arm);
        value.put(type);
        expect_like_reference(type, value.wire, name);
      }
    }
  }
}

TEST(result_bounds, hold_for_every_record_of_the_interface_with_full_texts) {
  for (const procedure& one : specified_procedures()) {
    expect_full_texts(one.result, one.name);
    expect_full_texts(one.argument, one.name);
    if (HasFatalFailure()) return;
  }
}

TEST(result_bounds, hold_for_every_shape_with_full_texts) {
  for (const test_shape& shape : test_shapes) expect_full_texts(shape.type, shape.name);
}

using namespace wire;

constexpr structure small_node{
    "node", {{"a", chars(17)}, {"n", long_}, {"b", chars(16)}, {"next", list_next}}};
constexpr structure holder{"holder", {{"z", chars(3)}, {"list", pointer_to(small_node)}}};
constexpr choice either{
    "either", "selection", {{0, "v0", inline_(small_node)}, {1, "v1", array_of(holder)}}};
constexpr structure shapes_around{
    "shapes_around", {{"t", chars(20)}, {"u", inline_(either)}, {"e", array_of(small_node)}}};

// A text of far_text extends through a discriminant without zero bytes, into what is not yet taken.
constexpr choice lettered{
    "lettered", "selection", {{0x41414141, "v0", chars(12)}, {0x42424242, "v1", chars(12)}}};
constexpr structure far_text{
    "far_text", {{"z", chars(4)}, {"u", inline_(lettered)}, {"y", chars(8)}, {"n", long_}}};

TEST(result_bounds, hold_for_a_text_that_extends_beyond_its_run) {
  expect_full_texts(inline_(far_text), "far_text");
  expect_full_texts(array_of(far_text), "far_text");
}

TEST(result_bounds, hold_in_lists_inside_unions_and_in_arrays) {
  expect_full_texts(inline_(shapes_around), "shapes_around");
  expect_full_texts(array_of(either), "array of unions");
}

// The scan of a text finds plain chars several at a time, so it sees bytes of the next field.
TEST(result_bounds, hold_for_a_full_text_before_a_byte_that_is_not_plain) {
  static constexpr structure two{"two", {{"a", chars(9)}, {"b", chars(30)}}};
  for (std::uint32_t special = 0; special < 20; ++special) {
    for (const char letter : {'\0', '"', '\n', '\xA4', '\x01'}) {
      full_value value('x', false, 0);
      value.put(inline_(two));
      value.wire[4 * (9 + special) + 3] = letter;
      expect_like_reference(inline_(two), value.wire, "two");
    }
  }
}

// ---- over a record stream, with a fragment's border after each byte

struct feed {
  const char* at;
  const char* end;
};

std::string fragmented_text(const wire_type& type, const bytes& wire, std::size_t border) {
  bytes record(8 + wire.size());
  xdr_store_unit(record.data(), static_cast<std::uint32_t>(border));
  std::copy_n(wire.data(), border, record.data() + 4);
  xdr_store_unit(record.data() + 4 + border,
                 static_cast<std::uint32_t>(wire.size() - border) | 0x80000000u);
  std::copy(wire.begin() + static_cast<std::ptrdiff_t>(border), wire.end(),
            record.data() + 8 + border);
  feed source{record.data(), record.data() + record.size()};
  XDR xdrs{};
  xdrrec_create(
      &xdrs, 100, 100, &source,
      [](void* handle, char* place, std::int32_t size) {
        auto& from = *static_cast<feed*>(handle);
        const auto count = std::min(static_cast<std::ptrdiff_t>(size), from.end - from.at);
        std::copy_n(from.at, count, place);
        from.at += count;
        return count == 0 ? -1 : static_cast<std::int32_t>(count);
      },
      [](void*, char*, std::int32_t size) { return size; });
  xdrs.x_op = XDR_DECODE;
  xdrrec_skiprecord(&xdrs);
  text_buffer text(exact_memory);
  result_text result{type, text, 0};
  const bool_t read = xdr_result(&xdrs, &result);
  XDR_DESTROY(&xdrs);
  return !read ? "" : result.written ? std::string(text.data(), text.size()) : no_text;
}

TEST(result_bounds, hold_with_a_border_between_fragments_after_each_byte) {
  for (const bool ended : {true, false}) {
    for (const wire_type& type :
         {inline_(shapes_around), inline_(far_text), array_of(far_text),
          inline_(shapes::everything), inline_(shapes::nested), inline_(shapes::vectors)}) {
      full_value value('x', ended, 1);
      value.put(type);
      test_value reference(type);
      ASSERT_TRUE(reference.get(value.wire));
      const std::string expected = reference.text();
      for (std::size_t border = 0; border < value.wire.size(); ++border) {
        ASSERT_EQ(fragmented_text(type, value.wire, border), expected) << border;
      }
    }
  }
}

TEST(result_bounds, hold_when_the_bytes_end_early) {
  for (const wire_type& type :
       {inline_(shapes_around), inline_(far_text), inline_(shapes::everything)}) {
    full_value value('\xA4', false, 0);
    value.put(type);
    for (std::size_t size = 0; size < value.wire.size(); ++size) {
      const bytes cut(value.wire.begin(), value.wire.begin() + static_cast<std::ptrdiff_t>(size));
      for (const inline_mode mode : modes) ASSERT_EQ(reply_text(type, cut, mode), "") << size;
    }
  }
}

}  // namespace
}  // namespace kvrpc::test
