// Parses arbitrary bytes and holds the tree against its own copies: a duplicate prints alike, and
// the second print, in which fractions have become what they parse to, is one that all later
// prints equal, the formatted form's included. The text is in a buffer of its exact size.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "json/json.h"
#include "support/json_owners.h"

namespace {

using namespace kvrpc;
using test::text_ptr;
using test::tree_ptr;

void require(bool holds) {
  if (!holds) std::abort();
}

text_ptr reprint(const char* text) {
  const tree_ptr tree(json_parse(text));
  require(tree != nullptr);
  text_ptr printed(json_print(tree.get()));
  require(printed != nullptr);
  return printed;
}

void check_tree(const json_node* tree) {
  const text_ptr first(json_print(tree));
  require(first != nullptr);
  const tree_ptr copy(json_duplicate(tree));
  const text_ptr of_copy(json_print(copy.get()));
  require(of_copy != nullptr && std::strcmp(first.get(), of_copy.get()) == 0);
  const text_ptr second = reprint(first.get());
  require(std::strcmp(second.get(), reprint(second.get()).get()) == 0);
  const text_ptr formatted(json_print_pretty(tree));
  require(formatted != nullptr);
  require(std::strcmp(second.get(), reprint(formatted.get()).get()) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::size_t length = strnlen(reinterpret_cast<const char*>(data), size);
  const text_ptr text(static_cast<char*>(std::malloc(length + 1)));
  const text_ptr before(static_cast<char*>(std::malloc(length + 1)));
  std::memcpy(text.get(), data, length);
  text.get()[length] = '\0';
  std::memcpy(before.get(), text.get(), length + 1);
  const tree_ptr tree(json_parse(text.get()));
  require(std::memcmp(text.get(), before.get(), length + 1) == 0);
  if (tree != nullptr) check_tree(tree.get());
  return 0;
}
