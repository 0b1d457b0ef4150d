// Decimal numbers of the environment, as strtol reads them: white space, a sign, digits; what
// follows is ignored. A value outside 32 bits becomes the nearest one inside. For example, " +9x"
// gives 9, and "99999999999" gives 2147483647.
#pragma once

#include <cstdint>

namespace kvrpc {

// Returns the number at the start of `text`, or 0 without digits. If `end` is not null, sets `*end`
// past the last digit, or to `text` without digits.
std::int32_t parse_decimal(const char* text, const char** end = nullptr);

}  // namespace kvrpc
