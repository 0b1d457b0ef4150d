// The six programs, each made of its families, and the search for a procedure by its name.
#include <cstring>

#include "schema/families.h"

namespace kvrpc {
namespace {

using namespace schema;

using family = const procedure_list*;

// The order in which procedures are listed. Alpha's begin with a_gamma_1, the first of its
// services.
constexpr family alpha[] = {&alpha_services,    &alpha_sessions,      &alpha_documents, &alpha_jobs,
                            &alpha_directories, &alpha_notifications, &alpha_users};
constexpr family lambda[] = {&lambda_processes};
constexpr family nue[] = {&nue_procedures};
constexpr family omega[] = {&omega_users, &omega_lines};
constexpr family sigma[] = {&sigma_pages};
constexpr family theta[] = {&theta_transmission, &theta_jobs};

template <std::uint32_t N>
constexpr program_table program_of(const char* name, const family (&families)[N]) {
  return {name, families, N};
}

// Returns the procedure of this name, whose hash is `hash`, or null.
const procedure* find_in(const procedure_list& list, const char* name, std::uint32_t hash) {
  for (std::uint32_t i = hash;; ++i) {
    const name_slot slot = list.slots[i & list.slot_mask];
    if (slot.place == 0) return nullptr;
    if (slot.tag != name_tag(hash)) continue;
    const procedure& row = list.rows[slot.place - 1];
    if (std::strcmp(row.name, name) == 0) return &row;
  }
}

}  // namespace

constexpr program_table programs[program_count] = {
    program_of("alpha", alpha), program_of("lambda", lambda), program_of("nue", nue),
    program_of("omega", omega), program_of("sigma", sigma),   program_of("theta", theta),
};

const program_table* find_program(const char* name) {
  for (const program_table& program : programs) {
    if (std::strcmp(program.name, name) == 0) return &program;
  }
  return nullptr;
}

const procedure* find_procedure(const program_table& program, const char* name) {
  const std::uint32_t hash = name_hash(name, std::strlen(name));
  for (std::uint32_t i = 0; i < program.family_count; ++i) {
    const procedure* const found = find_in(*program.families[i], name, hash);
    if (found != nullptr) return found;
  }
  return nullptr;
}

}  // namespace kvrpc
