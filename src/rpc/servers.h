// The servers of an installation: one row for each. A new server is a new row here; one whose
// procedures scripts can call is also a row of schema/programs.cpp.
#pragma once

#include <cstdint>

#include "rpc/environment.h"

namespace kvrpc {

struct server_entry {
  const char* name;
  std::uint32_t program;
  std::int32_t slot;          // it listens on the base port plus this
  const char* host_variable;  // its host, unless empty; null if variable::host counts for it
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
