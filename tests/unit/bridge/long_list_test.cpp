// Lists of a million nodes by every walker on a small stack, in time linear in the nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <memory>

#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"
#include "support/small_stack.h"

namespace kvrpc::test {
namespace {

// The longest lists are for the optimised build. The sanitizers watch what is touched, not how long
// it takes.
#if !defined(NDEBUG) || defined(__SANITIZE_ADDRESS__)
constexpr bool quick = true;
#elif defined(__has_feature)
constexpr bool quick = __has_feature(address_sanitizer);
#else
constexpr bool quick = false;
#endif
constexpr std::uint32_t most = quick ? 100000 : 1000000;
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

// A head whose list occurs twice, so that the second one releases the first.
std::string twice(const std::string& list) {
  return "{\"head\":" + list + ",\"head\":" + list + "}";
}

// A number of equal lists, taken together through one walker after the other, so that as much
// memory is in use at every point with many short lists as with a long one.
class list_set {
 public:
  list_set(const wire_type& type, const std::string& text, std::size_t lists)
      : text_(text), values_(lists), wires_(lists), trees_(lists) {
    for (auto& value : values_) value = std::make_unique<test_value>(type);
  }

  void walk() {
    for (json_node*& tree : trees_) tree = json_parse(text_.c_str());
    for (std::size_t i = 0; i < trees_.size(); ++i) {
      ASSERT_EQ(values_[i]->encode(trees_[i]), 1);
    }
    delete_trees();
    for (std::size_t i = 0; i < wires_.size(); ++i) ASSERT_TRUE(values_[i]->put(&wires_[i]));
    for (auto& value : values_) value->release();
    for (const bytes& wire : wires_) ASSERT_EQ(reply_text(values_[0]->type(), wire), text_);
  }

 private:
  void delete_trees() {
    for (json_node* tree : trees_) json_delete(tree);
  }

  const std::string& text_;
  std::vector<std::unique_ptr<test_value>> values_;
  std::vector<bytes> wires_;
  std::vector<json_node*> trees_;
};

// Returns the processor time of all walkers over `lists` lists of `nodes` nodes, in nanoseconds per
// node.
double time_of(const list_form& form, std::uint32_t nodes, std::uint32_t lists) {
  const std::string text = list_text(form, nodes);
  std::clock_t taken = 0;
  run_on_small_stack([&] {
    list_set set(wire::inline_(*form.record), text, lists);
    const std::clock_t start = std::clock();
    set.walk();
    taken = std::clock() - start;
  });
  return static_cast<double>(taken) * (1e9 / CLOCKS_PER_SEC) / nodes / lists;
}

// A busy machine can only make a measurement slower. So each side counts with its best time, and
// the test makes more attempts if the two are too far apart.
TEST(long_list, passes_all_walkers_on_a_small_stack_at_the_same_cost_for_each_node) {
  for (const list_form& form : forms) {
    double small = 1e9;
    double large = 1e9;
    failing_heap heap(-1);
    for (int attempt = 0; attempt == 0 || (attempt < 30 && large > 1.3 * small); ++attempt) {
      small = std::min(small, time_of(form, few, form.many / few));
      large = std::min(large, time_of(form, form.many, 1));
      if (quick) break;
    }
    std::printf("%-20s %5.0f ns a node in lists of %u, %5.0f ns in one of %u, ratio %.2f\n",
                form.name, small, few, large, form.many, large / small);
    EXPECT_EQ(heap.live_blocks(), 0) << form.name;
    EXPECT_TRUE(quick || large <= 1.3 * small) << form.name;
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
    EXPECT_EQ(value.reply(), list_text(back, most));
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
