// Members of a structure may have any order. The encoder expects the table's order, which is
// fastest, and must find the fields in every other order as well.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "bridge/support/conversion.h"
#include "bridge/support/procedures.h"
#include "bridge/support/random_values.h"
#include "bridge/support/test_records.h"

namespace kvrpc::test {
namespace {

enum class order { reversed, shuffled };

// Puts the members of every object below `node` into another order. Recurses, because these values
// are not deep.
void reorder(json_node* node, order wanted, random_source& random) {
  std::vector<json_node*> children;
  while (node->child != nullptr) children.push_back(json_detach_at(node, 0));
  for (json_node* child : children) reorder(child, wanted, random);
  if (node->type == JSON_OBJECT && wanted == order::reversed) {
    std::reverse(children.begin(), children.end());
  }
  for (std::size_t i = children.size(); node->type == JSON_OBJECT && i > 1; --i) {
    if (wanted == order::shuffled) {
      std::swap(children[i - 1], children[random.below(static_cast<std::uint32_t>(i))]);
    }
  }
  for (json_node* child : children) json_add_item(node, child);
}

void expect_any_order(const wire_type& type, const random_value& sample, random_source& random) {
  for (const order wanted : {order::reversed, order::shuffled, order::shuffled}) {
    json_node* tree = json_parse(sample.json.c_str());
    ASSERT_NE(tree, nullptr) << sample.json;
    reorder(tree, wanted, random);
    test_value value(type);
    bytes wire;
    EXPECT_EQ(value.encode(tree), 1) << sample.json;
    EXPECT_TRUE(value.put(&wire)) << sample.json;
    EXPECT_EQ(wire, sample.wire) << sample.json;
    json_delete(tree);
  }
}

TEST(member_order, is_free_in_every_shape) {
  random_values values(11);
  random_source random(12);
  for (const test_shape& shape : test_shapes) {
    for (int i = 0; i < 50; ++i) {
      expect_any_order(shape.type, values.value(shape.type), random);
      if (HasFailure()) FAIL() << shape.name;
    }
  }
}

TEST(member_order, is_free_in_every_random_table) {
  random_source random(13);
  for (std::uint32_t seed = 0; seed < 300; ++seed) {
    random_tables tables(seed);
    random_values values(seed);
    const wire_type type = wire::inline_(tables.record(3));
    for (int i = 0; i < 3; ++i) expect_any_order(type, values.value(type), random);
    if (HasFailure()) FAIL() << "seed " << seed;
  }
}

TEST(member_order, is_free_in_every_procedure) {
  random_values values(14);
  random_source random(15);
  for (const procedure& one : specified_procedures()) {
    for (const wire_type& type : {one.argument, one.result}) {
      expect_any_order(type, values.value(type), random);
      if (HasFailure()) FAIL() << one.name;
    }
  }
}

// Three members in every order and with every repetition: the last member of each key counts.
TEST(member_order, lets_the_last_of_a_member_count_wherever_it_is) {
  static constexpr structure three{"three",
                                   {
                                       {"a", wire::int_},
                                       {"b", wire::int_},
                                       {"c", wire::int_},
                                   }};
  random_source random(16);
  for (int round = 0; round < 500; ++round) {
    std::int32_t expected[3] = {0, 0, 0};
    std::string text = "{";
    for (std::uint32_t i = random.below(8); i-- > 0;) {
      const std::uint32_t key = random.below(3);
      expected[key] = static_cast<std::int32_t>(random.below(1000));
      text += (text.size() > 1 ? ",\"" : "\"") + std::string(1, static_cast<char>('a' + key)) +
              "\":" + std::to_string(expected[key]);
    }
    test_value value(wire::inline_(three));
    ASSERT_EQ(value.encode(text + "}"), 1) << text;
    for (std::size_t i = 0; i < 3; ++i) {
      ASSERT_EQ(load<std::int32_t>(value.data() + 4 * i), expected[i]) << text;
    }
    ASSERT_EQ(value.encode(text + (text.size() > 1 ? "," : "") + R"("d":1})"), 0) << text;
  }
}

}  // namespace
}  // namespace kvrpc::test
