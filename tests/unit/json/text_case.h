// Texts with the trees they parse to, and the check that runs over a table of them.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "json_support.h"

namespace kvrpc::test {

// A text, its tree as describe() writes it, and the text that this tree prints to. A text that must
// not parse has the tree "fail" and prints nothing.
struct text_case {
  const char* text;
  const char* tree;
  const char* reprint = "(null)";
};

inline void check(const std::vector<text_case>& cases) {
  for (const text_case& each : cases) {
    const tree_ptr tree = parse(each.text);
    EXPECT_EQ(describe(tree.get()), each.tree) << each.text;
    EXPECT_EQ(print(tree.get()), each.reprint) << each.text;
  }
}

}  // namespace kvrpc::test
