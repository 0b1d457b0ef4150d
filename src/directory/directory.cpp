// Chooses program number, host and transport of a server, and creates its handle.
#include "directory/directory.h"

#include <cerrno>
#include <cstring>

#include "rpc/environment.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t server_version = 1;
constexpr std::size_t host_name_size = 35;

char local_host_name[host_name_size + 1] = "";
bool rpc_offset_read = false;
std::int32_t rpc_offset = 0;

// Copies at most `bound` characters and appends a NUL.
void copy_bounded(char* target, const char* source, std::size_t bound) {
  std::size_t length = 0;
  while (length < bound && source[length] != '\0') ++length;
  std::memcpy(target, source, length);
  target[length] = '\0';
}

setting variable_or(const char* name, const char* constant) {
  setting value(name);
  if (value.text() == nullptr && !value.failed()) value.replace(constant);
  return value;
}

// Reads the local host name only if it is needed, because the first read fixes it for good.
setting variable_or_local_host(const char* name) {
  setting host(name);
  const bool missing = host.text() == nullptr || host.text()[0] == '\0';
  if (missing && !host.failed()) host.replace(local_host());
  return host;
}

setting host_of(const server_entry& server) {
  if (server.host_variable == nullptr) return default_host();
  return variable_or_local_host(server.host_variable);
}

const server_entry* find_server(const char* which) {
  for (const server_entry& entry : server_directory) {
    if (std::strcmp(entry.name, which) == 0) return &entry;
  }
  return nullptr;
}

// `host` is null if there was no memory for its variable.
CLIENT* create_at(const char* host, std::uint32_t program) {
  const setting transport = rpc_transport();
  std::uint32_t shifted;
  if (host == nullptr || transport.text() == nullptr || !rpc_prog_number(program, &shifted)) {
    return clnt_create_failed(RPC_SYSTEMERROR, ENOMEM);
  }
  return clnt_create(host, shifted, server_version, transport.text());
}

}  // namespace

CLIENT* server_clnt_create(const char* which, const char* host) {
  const server_entry* entry = find_server(which);
  if (entry == nullptr) return nullptr;
  if (host != nullptr) return create_at(host, entry->program);
  const setting found = host_of(*entry);
  return create_at(found.text(), entry->program);
}

void server_clnt_destroy(CLIENT* clnt) {
  if (clnt != nullptr) clnt->cl_ops->destroy(clnt);
}

const char* server_clnt_create_error(const char* prefix) { return clnt_spcreateerror(prefix); }

setting rpc_transport() { return variable_or(variable::transport, "tcp"); }
setting default_host() { return variable_or(variable::host, "localhost"); }
setting alpha_host() { return variable_or_local_host(variable::alpha_host); }
setting omega_host() { return variable_or_local_host(variable::omega_host); }

const char* local_host() {
  if (local_host_name[0] == '\0') {
    const setting name = variable_or(variable::local_host, "");
    if (name.text() == nullptr) return nullptr;
    copy_bounded(local_host_name, name.text()[0] != '\0' ? name.text() : "localhost",
                 host_name_size);
  }
  return local_host_name;
}

bool rpc_prog_number(std::uint32_t program, std::uint32_t* shifted) {
  if (!rpc_offset_read) {
    if (!environment_number(variable::program_offset, &rpc_offset)) return false;
    rpc_offset_read = true;
  }
  *shifted = program + static_cast<std::uint32_t>(rpc_offset);
  return true;
}

}  // namespace kvrpc
