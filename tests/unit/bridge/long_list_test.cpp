// Lists of a million nodes by every walker on a small stack, in time linear in the nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "bridge/support/conversion.h"
#include "bridge/support/small_stack.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// The sanitizers watch what is touched, not how long it takes.
#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#elif defined(__has_feature)
constexpr bool sanitized = __has_feature(address_sanitizer);
#else
constexpr bool sanitized = false;
#endif

constexpr std::uint32_t most = sanitized ? 100000 : 1000000;
constexpr std::uint32_t few = 1000;

// A node as text around the place of its `next`, and how many nodes a long list has.
struct list_form {
  const char* name;
  const record_type* record;
  std::uint32_t many;
  const char* before;
  const char* behind;
};

constexpr list_form forms[] = {
    {"next first", &shapes::next_first, most, R"({"next":)", R"(,"id":1})"},
    {"next in the middle", &shapes::next_middle, most, R"({"id":2,"next":)", R"(,"name":"abc"})"},
    {"next last", &shapes::next_last, most, R"({"data":{"a":1,"b":"b"},"text":"t","next":)", "}"},
    {"rich", &shapes::rich_node, most / 10, R"({"next":)",
     R"(,"which":{"selection":1,"v1":{"id":"i","text":"t","more":null}},"items":[],)"
     R"("inner":null,"data":"/w=="})"},
};

std::string list_text(const list_form& form, std::uint32_t nodes) {
  std::string text;
  for (std::uint32_t i = 0; i < nodes; ++i) text += form.before;
  text += "null";
  for (std::uint32_t i = 0; i < nodes; ++i) text += form.behind;
  return text;
}

// A head whose list occurs twice, so that the first is released for the second.
std::string twice(const std::string& list) {
  return "{\"head\":" + list + ",\"head\":" + list + "}";
}

// All walkers once. The nodes' JSON is compared where it costs little beside the walk.
void walk(const wire_type& type, const std::string& text) {
  bytes wire;
  {
    test_value value(type);
    ASSERT_EQ(value.encode(text), 1);
    ASSERT_TRUE(value.put(&wire));
    ASSERT_EQ(value.text(), text);
    ASSERT_EQ(value.tree_text(), text);
  }
  test_value value(type);
  ASSERT_TRUE(value.get(wire));
  ASSERT_EQ(value.text(), text);
}

// The nanoseconds for each node of `walks` times through a list.
double time_of(const list_form& form, const std::string& text, std::uint32_t nodes,
               std::uint32_t walks) {
  const auto start = std::chrono::steady_clock::now();
  for (std::uint32_t i = 0; i < walks; ++i) walk(wire::inline_(*form.record), text);
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
  return taken.count() / walks / nodes;
}

// A busy machine disturbs a measurement, never to the good of the longer list: each side counts
// with its best time, and some more attempts are made when the two are too far apart.
TEST(long_list, passes_all_walkers_on_a_small_stack_at_the_same_cost_for_each_node) {
  for (const list_form& form : forms) {
    const std::string short_text = list_text(form, few);
    const std::string long_text = list_text(form, form.many);
    double small = 1e9;
    double large = 1e9;
    failing_heap heap(-1);
    for (int attempt = 0; attempt == 0 || (attempt < 6 && large > 1.3 * small); ++attempt) {
      small = std::min(small, time_of(form, short_text, few, 50));
      run_on_small_stack([&] { large = std::min(large, time_of(form, long_text, form.many, 1)); });
      if (sanitized) break;
    }
    std::printf("%-20s %5.0f ns a node in %u, %5.0f ns in %u, ratio %.2f\n", form.name, small, few,
                large, form.many, large / small);
    EXPECT_EQ(heap.live_blocks(), 0) << form.name;
    EXPECT_TRUE(sanitized || large <= 1.3 * small) << form.name;
    if (HasFatalFailure()) FAIL() << form.name;
  }
}

TEST(long_list, is_released_for_a_later_one_on_a_small_stack) {
  for (const list_form& form : forms) {
    const record_field fields[] = {{"head", wire::pointer_to(*form.record)}};
    const structure head{"head", fields};
    const std::string text = twice(list_text(form, form.many / 4));
    failing_heap heap(-1);
    run_on_small_stack([&] {
      test_value value(wire::inline_(head));
      ASSERT_EQ(value.encode(text), 1);
    });
    EXPECT_EQ(heap.live_blocks(), 0) << form.name;
  }
}

TEST(long_list, with_members_on_both_sides_of_its_next_fills_every_node) {
  run_on_small_stack([] {
    const list_form form = {"", &shapes::next_middle, most, R"({"id":1,"next":)",
                            R"(,"id":2,"name":"n"})"};
    test_value value(wire::inline_(shapes::next_middle));
    ASSERT_EQ(value.encode(list_text(form, form.many)), 1);
    const list_form back = {"", nullptr, most, R"({"id":2,"next":)", R"(,"name":"n"})"};
    EXPECT_EQ(value.text(), list_text(back, most));
  });
}

TEST(long_list, that_breaks_off_at_its_far_end_is_released) {
  for (const list_form& form : forms) {
    const wire_type type = wire::inline_(*form.record);
    bytes wire;
    {
      test_value value(type);
      ASSERT_EQ(value.encode(list_text(form, form.many / 4)), 1);
      ASSERT_TRUE(value.put(&wire));
    }
    wire.resize(wire.size() - 4);
    failing_heap heap(-1);
    run_on_small_stack([&] {
      test_value value(type);
      EXPECT_FALSE(value.get(wire));
    });
    EXPECT_EQ(heap.live_blocks(), 0) << form.name;
  }
}

}  // namespace
}  // namespace kvrpc::test
