// A call's JSON text as a tree that is read once and dropped as a whole.
//
// It is parsed exactly as by json_parse, but its nodes are parts of a few large allocations, which
// belong to the document. So nothing may be added to, removed from or deleted in it.
#pragma once

#include "json/json.h"
#include "json/memory.h"

namespace kvrpc {

class json_document {
 public:
  // Returns the root of the first value in `text`, or null if there is none or memory is out. Must
  // be called only once. The tree lives as long as the document.
  const json_node* parse(const char* text);

 private:
  json_arena arena_;
};

}  // namespace kvrpc
