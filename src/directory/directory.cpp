#include "directory/directory.h"

#include <cerrno>
#include <cstring>

#include "rpc/decimal.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t server_version = 1;
constexpr std::size_t host_name_size = 35;

char local_host_name[host_name_size + 1] = "";
bool rpc_offset_read = false;
std::int32_t rpc_offset = 0;

// Copies at most `bound` characters and always ends the target.
void copy_bounded(char* target, const char* source, std::size_t bound) {
  std::size_t length = 0;
  while (length < bound && source[length] != '\0') ++length;
  std::memcpy(target, source, length);
  target[length] = '\0';
}

setting variable_or(const char* variable, const char* constant) {
  setting value(variable);
  if (value.text() == nullptr && !value.failed()) value.replace(constant);
  return value;
}

// Asks for the local host name, which settles it for good, only if it is needed.
setting variable_or_local_host(const char* variable) {
  setting host(variable);
  const bool missing = host.text() == nullptr || host.text()[0] == '\0';
  if (missing && !host.failed()) host.replace(local_host());
  return host;
}

setting host_of(const char* which) {
  if (std::strcmp(which, "alpha") == 0) return alpha_host();
  if (std::strcmp(which, "omega") == 0) return omega_host();
  return default_host();
}

const server_entry* find_server(const char* which) {
  for (const server_entry& entry : server_directory) {
    if (std::strcmp(entry.name, which) == 0) return &entry;
  }
  return nullptr;
}

// A null host is one for which there was no memory.
CLIENT* create_at(const char* host, std::uint32_t program) {
  const setting transport = rpc_transport();
  std::uint32_t shifted;
  if (host == nullptr || transport.text() == nullptr || !rpc_prog_number(program, &shifted)) {
    return clnt_create_failed(RPC_SYSTEMERROR, ENOMEM);
  }
  return clnt_create(host, shifted, server_version, transport.text());
}

}  // namespace

// clang-format off
const server_entry server_directory[7] = {
    {"alpha", 16011967},
    {"gamma", 1481537},
    {"lambda", 26011932},
    {"nue", 302095104},
    {"omega", 16011931},
    {"sigma", 9081975},
    {"theta", 1102104009},
};
// clang-format on

CLIENT* server_clnt_create(const char* which, const char* host) {
  const server_entry* entry = find_server(which);
  if (entry == nullptr) return nullptr;
  if (host != nullptr) return create_at(host, entry->program);
  const setting found = host_of(which);
  return create_at(found.text(), entry->program);
}

void server_clnt_destroy(CLIENT* clnt) {
  if (clnt != nullptr) clnt->cl_ops->destroy(clnt);
}

const char* server_clnt_create_error(const char* prefix) { return clnt_spcreateerror(prefix); }

setting rpc_transport() { return variable_or("RPCTRANSPORT", "tcp"); }
setting default_host() { return variable_or("ZOLMHOST", "localhost"); }
setting alpha_host() { return variable_or_local_host("ALPHAHOST"); }
setting omega_host() { return variable_or_local_host("OMEGAHOST"); }

const char* local_host() {
  if (local_host_name[0] == '\0') {
    const setting name = variable_or("LOCALHOST", "");
    if (name.text() == nullptr) return nullptr;
    copy_bounded(local_host_name, name.text()[0] != '\0' ? name.text() : "localhost",
                 host_name_size);
  }
  return local_host_name;
}

bool rpc_prog_number(std::uint32_t program, std::uint32_t* shifted) {
  if (!rpc_offset_read) {
    const environment_text offset("KORVEXRPCOFFSET");
    if (offset.failed()) return false;
    if (offset.get() != nullptr) rpc_offset = parse_decimal(offset.get());
    rpc_offset_read = true;
  }
  *shifted = program + static_cast<std::uint32_t>(rpc_offset);
  return true;
}

}  // namespace kvrpc
