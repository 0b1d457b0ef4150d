// What the tests of the value tree share: owners for trees and printed texts, and a written form of
// trees.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "json/json.h"
#include "support/json_owners.h"

#if defined(__SANITIZE_ADDRESS__)
#define KVRPC_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVRPC_TEST_SANITIZED 1
#endif
#endif

namespace kvrpc::test {

// How deep the deepest trees of the tests are.
#if defined(NDEBUG) && !defined(KVRPC_TEST_SANITIZED)
constexpr std::int32_t great_depth = 10'000'000;
#else
constexpr std::int32_t great_depth = 100'000;
#endif

// Parses a copy of `text` that ends where its block ends, so that the sanitizers see a read past
// it, and checks that the parser left the copy as it was.
tree_ptr parse(const std::string& text);

// The printed texts; "(null)" for a null result.
std::string print(const json_node* node);
std::string pretty(const json_node* node);

// Describes a tree by its nodes' fields, with blanks between children:
//
//   null true false   12   g3FC00000   'text'   [1 'a']   {'key':1 'other':[]}
//
// g and eight digits is a parsed fraction, by the low half of the number's bits. Bytes of texts
// outside of ASCII and ' and \ are written \xHH. "fail" is a null tree. A field that a parsed node
// of its type cannot hold, or a broken link, adds a '!'.
std::string describe(const json_node* node);
// The same of the document that json_document makes of `text`, from a copy as in parse().
std::string describe_document(const std::string& text);

std::uint64_t bits_of(double value);

// `count` times `text`.
std::string repeated(const std::string& text, std::int32_t count);

// Fifty texts, valid and of every kind.
const std::vector<std::string>& valid_texts();

}  // namespace kvrpc::test
