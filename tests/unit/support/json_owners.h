// Owners for the trees and the printed texts of the value tree.
#pragma once

#include <memory>

#include "json/json.h"

namespace kvrpc::test {

struct json_deleter {
  void operator()(json_node* node) const { json_delete(node); }
  void operator()(char* text) const { json_hooks().release(text); }
};
using tree_ptr = std::unique_ptr<json_node, json_deleter>;
using text_ptr = std::unique_ptr<char, json_deleter>;

}  // namespace kvrpc::test
