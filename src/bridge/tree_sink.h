// Where a converted record goes as a tree of JSON values. It has the operations of text_sink.
//
// Appending costs no walk of the siblings. The tree belongs to the sink until release(); a sink
// that is dropped takes what it holds with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bridge/resume_stack.h"
#include "json/json.h"
#include "schema/types.h"

namespace kvrpc {

class tree_sink {
 public:
  tree_sink() = default;
  ~tree_sink() { json_delete(root_); }
  tree_sink(const tree_sink&) = delete;
  tree_sink& operator=(const tree_sink&) = delete;

  int null() { return add(json_new_null()); }
  int boolean(bool value) { return add(value ? json_new_true() : json_new_false()); }
  int integer(std::int64_t value) { return add(json_new_integer(value)); }
  int number(double value) { return add(json_new_double(value)); }
  int iso_text(const char* bytes, std::size_t size);
  int plain_text(const char* bytes, std::size_t size);
  int base64(const void* bytes, std::size_t size);

  int begin_object() { return begin(json_new_object()); }
  int key(const record_field& field) {
    key_ = field.key;
    return 1;
  }
  int end_object() { return end(); }
  int begin_array() { return begin(json_new_array()); }
  int item() { return 1; }
  int end_array() { return end(); }

  // The finished tree, now the caller's; null when nothing was made.
  json_node* release();

 private:
  // An open container and its last child.
  struct level {
    json_node* container;
    json_node* tail;
  };

  int add(json_node* node);
  int begin(json_node* container);
  int end();

  json_node* root_ = nullptr;
  level open_{};
  const char* key_ = nullptr;
  resume_stack<level> outer_;
};

}  // namespace kvrpc
