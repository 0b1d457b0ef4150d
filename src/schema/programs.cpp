#include <cstring>

#include "schema/families.h"

namespace kvrpc {
namespace {

using namespace schema;

using family = const procedure_list*;

// Names are compared in this order; alpha's begin with a_gamma_1, the first of its services.
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
  for (std::uint32_t i = 0; i < program.family_count; ++i) {
    const procedure_list& list = *program.families[i];
    for (const procedure* row = list.rows; row != list.rows + list.count; ++row) {
      if (std::strcmp(row->name, name) == 0) return row;
    }
  }
  return nullptr;
}

}  // namespace kvrpc
