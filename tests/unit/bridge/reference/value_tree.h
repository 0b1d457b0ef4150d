// The second half of the reference (see read_value.h): record to tree.
#pragma once

#include "json/json.h"
#include "schema/types.h"

namespace kvrpc::test {

// Returns the tree of a value in memory, now the caller's, or null if the value has no JSON form.
// With `raw_text` other than 0 the bytes of texts are copied as they are.
json_node* value_tree(const char* data, const wire_type& type, int raw_text = 0);

}  // namespace kvrpc::test
