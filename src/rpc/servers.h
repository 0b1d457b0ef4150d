// The servers of an installation: one row for each. A new server is a new row here. If scripts can
// call its procedures, it needs a row of schema/programs.cpp as well. CONTRIBUTING.md has the whole
// list.
#pragma once

#include <cstdint>

#include "rpc/environment.h"

namespace kvrpc {

struct server_entry {
  const char* name;
  std::uint32_t program;
  std::int32_t slot;          // the server listens on the base port plus this
  const char* host_variable;  // names the variable of its host; null for variable::host
};

// In the order in which names are compared. All have version 1.
// clang-format off
inline constexpr server_entry server_directory[] = {
    {"alpha",  16011967,   0, variable::alpha_host},
    {"gamma",  1481537,    1, nullptr},
    {"lambda", 26011932,   3, nullptr},
    {"nue",    302095104,  4, nullptr},
    {"omega",  16011931,   5, variable::omega_host},
    {"sigma",  9081975,    6, nullptr},
    {"theta",  1102104009, 2, nullptr},
};
// clang-format on

}  // namespace kvrpc
