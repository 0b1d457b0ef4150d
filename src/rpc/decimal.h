// Decimal numbers of the environment: white space, a sign and digits at the start of a text count,
// whatever follows is left alone. A value outside 32 bits becomes the nearest one inside.
#pragma once

#include <cstdint>

namespace kvrpc {

// The number at the start of `text`, 0 without digits; `*end`, if wanted, stands behind the last
// digit, or at the start of `text` without digits.
std::int32_t parse_decimal(const char* text, const char** end = nullptr);

}  // namespace kvrpc
