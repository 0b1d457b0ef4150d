// The scanners behind json_parse; for the sources of this directory and their tests alone.
//
// Each takes the position of what it reads and `end`, the place of the text's NUL, and returns the
// position behind what it consumed, or null on failure. None of them writes to the text or reads
// behind `end`. A scanner that steps over the NUL itself has run past the text: that fails, except
// for a number, which then returns end + 1. No other scanner goes on from there, so such a number
// can only be a whole text.
#pragma once

#include <cstdint>

#include "json/tree.h"

namespace kvrpc {

// Past all bytes that are at most 32 as signed numbers, those from 0x80 on included. Null for null
// and for a position past the text.
const char* json_skip(const char* at, const char* end);

// Appends one whole value to `tree`, which must be empty.
const char* json_parse_value(json_tree& tree, const char* at, const char* end);

// These fill `node`.
const char* json_parse_number(json_node* node, const char* at, const char* end);
const char* json_parse_string(json_node* node, const char* at, const char* end);

// Up to four hexadecimal digits, as many as there are; behind the last of them.
const char* json_parse_hex4(const char* at, std::uint32_t* out);

}  // namespace kvrpc
